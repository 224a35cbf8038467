#include "source/CertificateDraft.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <optional>

#include "kit/osdep/RepeatWhileInterrupted.h"
#include "source/PemFile.h"

namespace qvsslinit {
namespace {

using qv::kit::String;
using qv::kit::osdep::RepeatWhileInterrupted;

constexpr mode_t kNewFileMode = 0666;

bool Remove(const char* name) noexcept {
  return RepeatWhileInterrupted([=] { return ::unlink(name); }) == 0;
}

/// Looks at what bears the name itself, be it a link.
bool LookAt(const char* name, struct stat& entry) noexcept {
  return RepeatWhileInterrupted([&] { return ::lstat(name, &entry); }) == 0;
}

/// Looks at what the name leads to.
bool LookThrough(const char* name, struct stat& entry) noexcept {
  return RepeatWhileInterrupted([&] { return ::stat(name, &entry); }) == 0;
}

bool IsSame(const struct stat& one, const struct stat& other) noexcept {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool IsMissing(const String& file) noexcept {
  struct stat entry {};
  return !LookThrough(file.c_str(), entry) && errno == ENOENT;
}

bool IsLink(const String& name) noexcept {
  struct stat entry {};
  return LookAt(name.c_str(), entry) && S_ISLNK(entry.st_mode);
}

/// Whether it is known that name does not bear what was made, or not any more: others may have put
/// something of theirs in its place.
bool RemoveMade(const char* name, const struct stat& made) noexcept {
  struct stat entry {};
  return LookAt(name, entry) && (!IsSame(entry, made) || Remove(name));
}

/// The same for what is at the end of all links: those are somebody's.
bool RemoveMadeTarget(const String& file, const struct stat& made) noexcept {
  char target[PATH_MAX];
  if (::realpath(file.c_str(), target) == nullptr) return errno == ENOENT;
  return RemoveMade(target, made);
}

/// Makes an empty file, with further flags for open, and tells which it is. Nothing where that
/// fails, or where the umask makes it one that could not be opened a second time to be written.
std::optional<struct stat> Make(const String& file, int flags) noexcept {
  const int descriptor = RepeatWhileInterrupted(
      [&] { return ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, kNewFileMode); });
  if (descriptor == -1) return std::nullopt;
  struct stat made {};
  const bool isNew = ::fstat(descriptor, &made) == 0 && made.st_size == 0;
  ::close(descriptor);
  if (!isNew) return std::nullopt;
  if ((made.st_mode & S_IWUSR) != 0) return made;
  RemoveMadeTarget(file, made);
  return std::nullopt;
}

/// Whether file is what second is, and cut; nothing where that cannot be told.
std::optional<bool> IsLeftover(const String& file, const struct stat& second) noexcept {
  struct stat first {};
  if (!LookAt(file.c_str(), first)) return errno == ENOENT ? std::optional(false) : std::nullopt;
  if (!IsSame(first, second)) return false;
  return IsCutPemFile(file, kPemCertificate);
}

}  // namespace

bool CertificateDraft::RemoveLeftover(const String& file, const String& secondName) noexcept {
  struct stat second {};
  if (!LookAt(secondName.c_str(), second) || !S_ISREG(second.st_mode)) return false;
  const std::optional<bool> isLeftover = IsLeftover(file, second);
  // Without the second name no later process could tell.
  if (!isLeftover || (*isLeftover && !Remove(file.c_str()))) return false;
  Remove(secondName.c_str());
  return *isLeftover;
}

CertificateDraft::CertificateDraft(const String& file, const String& secondName) noexcept
    : file_(file), secondName_(secondName) {
  if (!IsMissing(file_)) return;
  makeUnderBothNames();
  if (!hasSecondName_) makeUnderOneName();
}

CertificateDraft::~CertificateDraft() {
  if (!made_) return;
  const bool isGone = !isWhole_ && RemoveMadeTarget(file_, *made_);
  // What is cut and stays is left to a later process, as if this one had been killed.
  if (hasSecondName_ && (isWhole_ || isGone)) RemoveMade(secondName_.c_str(), *made_);
}

bool CertificateDraft::finish() noexcept {
  isWhole_ = wasReplaced() || !IsPemFileLost(file_, kPemCertificate);
  return isWhole_;
}

void CertificateDraft::makeUnderBothNames() noexcept {
  const std::optional<struct stat> made = Make(secondName_, O_EXCL);
  if (!made) return;
  const auto link = [this] { return ::link(secondName_.c_str(), file_.c_str()); };
  // A server of files may have made the link, and lost the answer.
  struct stat entry {};
  if (RepeatWhileInterrupted(link) == 0 || (LookAt(file_.c_str(), entry) && IsSame(entry, *made))) {
    made_ = made;
    hasSecondName_ = true;
  } else {
    RemoveMade(secondName_.c_str(), *made);
  }
}

void CertificateDraft::makeUnderOneName() noexcept {
  // A link that leads nowhere is followed; what anybody has put there since is left alone.
  made_ = Make(file_, IsLink(file_) ? 0 : O_EXCL);
}

bool CertificateDraft::wasReplaced() const noexcept {
  struct stat entry {};
  return made_ && LookThrough(file_.c_str(), entry) && !IsSame(entry, *made_);
}

}  // namespace qvsslinit
