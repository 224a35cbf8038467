#include <sys/stat.h>

#include <cerrno>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep::path {

bool IsDirectory(const WString& path) {
  if (!IsAbs(path) || path.hasEmbeddedNull()) return false;
  const String name = ToSystemPath(path);
  struct stat entry {};
  return RepeatWhileInterrupted([&] { return ::stat(name.c_str(), &entry); }) == 0 &&
         S_ISDIR(entry.st_mode);
}

bool IsSymLink(const WString& path) {
  if (path.hasEmbeddedNull()) return false;
  const String name = ToSystemPath(path);
  struct stat entry {};
  return RepeatWhileInterrupted([&] { return ::lstat(name.c_str(), &entry); }) == 0 &&
         S_ISLNK(entry.st_mode);
}

bool DoesFileExist(const WString& path) {
  RequireAbsolute(path);
  const String name = ToSystemPath(path);
  struct stat entry {};
  if (RepeatWhileInterrupted([&] { return ::stat(name.c_str(), &entry); }) == 0) {
    return S_ISREG(entry.st_mode);
  }
  if (errno != ENOENT) QV_THROW(PosixError());
  return false;
}

}  // namespace qv::kit::osdep::path
