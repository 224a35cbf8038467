#include "kit/osdep/FileIdentity.h"

#include <sys/stat.h>

#include <cerrno>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"

namespace qv::kit::osdep {

std::optional<FileIdentity> FileIdentity::Of(const WString& path) {
  const String name = ToSystemPath(path);
  struct stat entry {};
  if (RepeatWhileInterrupted([&] { return ::stat(name.c_str(), &entry); }) == 0) {
    return FileIdentity{entry.st_dev, entry.st_ino};
  }
  // Who is not sure that two names are two files must not overwrite one with the other.
  if (errno != ENOENT) QV_THROW(PosixError());
  return std::nullopt;
}

}  // namespace qv::kit::osdep
