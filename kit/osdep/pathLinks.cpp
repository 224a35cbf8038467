#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep::path {
namespace {

/// Many times as much as any system lets a link hold.
constexpr std::uint64_t kMostRoom = 1 << 20;

/// Fails for a reason that no system call gave.
[[noreturn]] void ThrowPosixError(int reason) {
  errno = reason;
  QV_THROW(PosixError());
}

}  // namespace

void CreateSymLink(const WString& target, const WString& link) {
  const String narrowTarget = ToSystemPath(target);
  const String narrowLink = ToSystemPath(link);
  const auto create = [&] { return ::symlink(narrowTarget.c_str(), narrowLink.c_str()); };
  if (RepeatWhileInterrupted(create) == -1) QV_THROW(PosixError());
}

WString ResolveSymLink(const WString& path) {
  const String name = ToSystemPath(path);
  struct stat entry {};
  if (RepeatWhileInterrupted([&] { return ::lstat(name.c_str(), &entry); }) == -1) {
    QV_THROW(PosixError());
  }
  if (!S_ISLNK(entry.st_mode)) ThrowPosixError(EINVAL);
  // Some file systems report a length of 0, and the link may be replaced by a longer one meanwhile:
  // a text that fills the buffer to its end may have been cut, and is read again with more room.
  const std::uint64_t stated = static_cast<std::uint64_t>(entry.st_size) + 1;
  for (auto room = static_cast<std::size_t>(std::min(stated, kMostRoom)); room <= kMostRoom;
       room *= 2) {
    std::string target(room, '\0');
    const auto read = [&] { return ::readlink(name.c_str(), target.data(), room); };
    const ssize_t length = RepeatWhileInterrupted(read);
    if (length == -1) QV_THROW(PosixError());
    if (static_cast<std::size_t>(length) < room) return WString(target.c_str());
  }
  ThrowPosixError(ENAMETOOLONG);
}

}  // namespace qv::kit::osdep::path
