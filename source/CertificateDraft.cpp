#include "source/CertificateDraft.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "kit/osdep/RepeatWhileInterrupted.h"
#include "source/PemFile.h"

namespace qvsslinit {
namespace {

using qv::kit::String;
using qv::kit::osdep::RepeatWhileInterrupted;

constexpr mode_t kNewFileMode = 0666;

int Open(const String& file, int flags) noexcept {
  return RepeatWhileInterrupted(
      [&] { return ::open(file.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, kNewFileMode); });
}

/// Whether nobody else has the file locked. The lock goes with the process that holds it, however
/// it ends.
bool Lock(int descriptor) noexcept {
  return RepeatWhileInterrupted([=] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) == 0;
}

void Remove(const char* file) noexcept {
  RepeatWhileInterrupted([=] { return ::unlink(file); });
}

bool IsNameOf(const String& file, int descriptor) noexcept {
  struct stat named {};
  struct stat opened {};
  return RepeatWhileInterrupted([&] { return ::lstat(file.c_str(), &named); }) == 0 &&
         RepeatWhileInterrupted([&] { return ::fstat(descriptor, &opened); }) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

bool IsMissing(const String& file) noexcept {
  struct stat entry {};
  return RepeatWhileInterrupted([&] { return ::stat(file.c_str(), &entry); }) == -1 &&
         errno == ENOENT;
}

/// Removes the file itself, at the end of all links: those are somebody's.
void RemoveTarget(const String& file) noexcept {
  char target[PATH_MAX];
  if (::realpath(file.c_str(), target) != nullptr) Remove(target);
}

}  // namespace

bool CertificateDraft::RemoveLeftover(const String& file, const String& secondName) {
  const int descriptor = Open(secondName, O_RDWR);
  if (descriptor == -1) return false;
  bool removed = false;
  if (Lock(descriptor)) {
    removed = IsNameOf(file, descriptor) && IsCutPemFile(file, kPemCertificate);
    if (removed) Remove(file.c_str());
    if (IsNameOf(secondName, descriptor)) Remove(secondName.c_str());
  }
  ::close(descriptor);
  return removed;
}

CertificateDraft::CertificateDraft(const String& file, const String& secondName) noexcept
    : file_(file), secondName_(secondName), isOurs_(IsMissing(file)) {
  if (isOurs_) giveSecondName();
}

CertificateDraft::~CertificateDraft() {
  if (isOurs_ && !isWhole_) RemoveTarget(file_);
  if (descriptor_ == -1) return;
  Remove(secondName_.c_str());
  ::close(descriptor_);
}

bool CertificateDraft::finish() noexcept {
  isWhole_ = IsWholePemFile(file_, kPemCertificate);
  return isWhole_;
}

void CertificateDraft::giveSecondName() noexcept {
  descriptor_ = Open(secondName_, O_RDWR | O_CREAT | O_EXCL);
  if (descriptor_ == -1) return;
  const auto link = [this] { return ::link(secondName_.c_str(), file_.c_str()); };
  if (Lock(descriptor_) && RepeatWhileInterrupted(link) == 0) return;
  Remove(secondName_.c_str());
  ::close(descriptor_);
  descriptor_ = -1;
}

}  // namespace qvsslinit
