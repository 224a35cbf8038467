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

bool Make(const String& file) noexcept {
  const int descriptor = RepeatWhileInterrupted(
      [&] { return ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode); });
  if (descriptor != -1) ::close(descriptor);
  return descriptor != -1;
}

bool Remove(const char* file) noexcept {
  return RepeatWhileInterrupted([=] { return ::unlink(file); }) == 0;
}

/// Looks at what bears the name itself, be it a link.
bool LookAt(const String& name, struct stat& entry) noexcept {
  return RepeatWhileInterrupted([&] { return ::lstat(name.c_str(), &entry); }) == 0;
}

/// Whether file is what second is, and cut; nothing where that cannot be told.
std::optional<bool> IsLeftover(const String& file, const struct stat& second) noexcept {
  struct stat first {};
  if (!LookAt(file, first)) return errno == ENOENT ? std::optional(false) : std::nullopt;
  if (first.st_dev != second.st_dev || first.st_ino != second.st_ino) return false;
  return IsCutPemFile(file, kPemCertificate);
}

bool IsMissing(const String& file) noexcept {
  struct stat entry {};
  return RepeatWhileInterrupted([&] { return ::stat(file.c_str(), &entry); }) == -1 &&
         errno == ENOENT;
}

/// Removes the file itself, at the end of all links: those are somebody's. Whether it is gone.
bool RemoveTarget(const String& file) noexcept {
  char target[PATH_MAX];
  if (::realpath(file.c_str(), target) == nullptr) return errno == ENOENT;
  return Remove(target);
}

}  // namespace

bool CertificateDraft::RemoveLeftover(const String& file, const String& secondName) noexcept {
  struct stat second {};
  if (!LookAt(secondName, second) || !S_ISREG(second.st_mode)) return false;
  const std::optional<bool> isLeftover = IsLeftover(file, second);
  // Without the second name no later process could tell.
  if (!isLeftover || (*isLeftover && !Remove(file.c_str()))) return false;
  Remove(secondName.c_str());
  return *isLeftover;
}

CertificateDraft::CertificateDraft(const String& file, const String& secondName) noexcept
    : file_(file),
      secondName_(secondName),
      isOurs_(IsMissing(file)),
      hasSecondName_(isOurs_ && giveSecondName()) {}

CertificateDraft::~CertificateDraft() {
  const bool isGone = isOurs_ && !isWhole_ && RemoveTarget(file_);
  // What is cut and stays is left to a later process, as if this one had been killed.
  if (hasSecondName_ && (isWhole_ || isGone)) Remove(secondName_.c_str());
}

bool CertificateDraft::finish() noexcept {
  isWhole_ = IsWholePemFile(file_, kPemCertificate);
  return isWhole_;
}

bool CertificateDraft::giveSecondName() const noexcept {
  if (!Make(secondName_)) return false;
  const auto link = [this] { return ::link(secondName_.c_str(), file_.c_str()); };
  if (RepeatWhileInterrupted(link) == 0) return true;
  Remove(secondName_.c_str());
  return false;
}

}  // namespace qvsslinit
