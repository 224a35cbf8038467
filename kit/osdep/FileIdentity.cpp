#include "kit/osdep/FileIdentity.h"

#include <sys/stat.h>

#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"

namespace qv::kit::osdep {

std::optional<FileIdentity> FileIdentity::Of(const WString& path) {
  const String name = ToSystemPath(path);
  struct stat entry {};
  if (RepeatWhileInterrupted([&] { return ::stat(name.c_str(), &entry); }) == -1) {
    return std::nullopt;
  }
  return FileIdentity{entry.st_dev, entry.st_ino};
}

}  // namespace qv::kit::osdep
