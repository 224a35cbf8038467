#include "tools/cert/WorkingDirectory.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "kit/osdep/RepeatWhileInterrupted.h"
#include "tools/cert/Failure.h"
#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"

namespace qv::tools::cert {
namespace {

using kit::osdep::RepeatWhileInterrupted;

int Open(const std::string& name, int flags = 0) {
  return RepeatWhileInterrupted(
      [&] { return ::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags); });
}

/// A descriptor, and an end to it that errno survives.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    const int error = errno;
    if (number_ != -1) ::close(number_);
    errno = error;
  }
  int number() const { return number_; }
  bool isOpen() const { return number_ != -1; }

 private:
  int number_;
};

bool IsLink(const std::string& name) {
  struct stat entry {};
  return ::lstat(name.c_str(), &entry) == 0 && S_ISLNK(entry.st_mode);
}

/// Whom to name where root is told that something is not permitted.
std::string WhoTries() {
  if (::geteuid() == ::getuid()) return "";
  return " as user " + std::to_string(::geteuid()) +
         ", who owns the directory that holds it; give that user both, with chown -R";
}

/// name with the current directory before it; as it is where nobody can tell that one.
std::string FullPath(const std::string& name) {
  std::error_code error;
  const std::filesystem::path here = std::filesystem::current_path(error);
  return error ? name : (here / name).string();
}

/// Where error is that this user lacks the rights: mode and owner of the directory, with words for
/// it before them, and whom to run this as.
std::string WhoMay(const std::string& words, const FileFacts& directory, int error) {
  if (error != EACCES && error != EPERM) return "";
  std::string rights =
      directory.isThere() ? " (" + words + directory.accessText() + ")" : std::string();
  // Root has acted as another user, whom the attempt names, or may do no more as anybody else.
  if (::getuid() == 0) return rights;
  return rights + ": run this as the user that the server runs as, or as root";
}

Failure CannotEnter(const std::string& name, const std::string& who, int error) {
  const FileFacts directory(name);
  return Failure(SystemFailure("Cannot enter " + Quoted(FullPath(name)) + who, error).what() +
                 WhoMay("", directory, error));
}

Failure CannotMake(const std::string& name, int error) {
  const std::string above = std::filesystem::path(name).parent_path().string();
  return Failure(
      SystemFailure("Cannot make the directory " + Quoted(FullPath(name)), error).what() +
      WhoMay(Quoted(Directory(FullPath(name))) + " has ", FileFacts(above.empty() ? "." : above),
             error));
}

}  // namespace

void EnterDirectory(const std::string& path) {
  if (::chdir(path.c_str()) != 0) throw CannotEnter(path, "", errno);
}

void EnterOwnDirectory(const std::string& name) {
  const Descriptor directory(Open(name, O_NOFOLLOW));
  if (!directory.isOpen() || ::fchdir(directory.number()) != 0) {
    const int error = errno;
    if (IsLink(name)) throw Failure(Quoted(name) + " is a symbolic link, which is not followed");
    throw CannotEnter(name, WhoTries(), error);
  }
}

void ActAsOwner() {
  struct stat directory {};
  if (::geteuid() != 0) return;
  if (::stat(".", &directory) != 0)
    throw SystemFailure("Cannot tell whose directory this is", errno);
  if (directory.st_uid == 0) return;
  if (::setgroups(1, &directory.st_gid) != 0 || ::setegid(directory.st_gid) != 0 ||
      ::seteuid(directory.st_uid) != 0) {
    throw SystemFailure(
        "Cannot become user " + std::to_string(directory.st_uid) + ", whose directory this is",
        errno);
  }
}

void MakeOwnDirectory(const std::string& name) {
  if (RepeatWhileInterrupted([&] { return ::mkdir(name.c_str(), S_IRWXU); }) != 0) {
    if (errno == EEXIST) return;
    throw CannotMake(name, errno);
  }
  if (!FlushDirectory())
    throw SystemFailure("Cannot have the directory " + Quoted(name) + " written to the disk",
                        errno);
}

bool Flush(int descriptor) {
  return RepeatWhileInterrupted([=] { return ::fsync(descriptor); }) == 0 || errno == EINVAL ||
         errno == ENOTSUP;
}

bool FlushDirectory(const std::string& name) {
  const Descriptor directory(Open(name));
  return directory.isOpen() && Flush(directory.number());
}

}  // namespace qv::tools::cert
