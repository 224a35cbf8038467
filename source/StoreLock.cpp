#include "source/StoreLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "kit/osdep/RepeatWhileInterrupted.h"

namespace qvsslinit {
namespace {

using qv::kit::osdep::RepeatWhileInterrupted;
using std::chrono::milliseconds;

constexpr milliseconds kPause{10};

bool TryToLock(int descriptor) noexcept {
  return RepeatWhileInterrupted([=] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) == 0;
}

/// Not a call that waits by itself: only a signal, and those are the host's, would put an end to
/// it.
bool Lock(int descriptor, milliseconds patience) noexcept {
  for (milliseconds waited{0}; !TryToLock(descriptor); waited += kPause) {
    if (errno != EWOULDBLOCK || waited >= patience) return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

}  // namespace

StoreLock::StoreLock(const qv::kit::String& directory, milliseconds patience) noexcept
    : owner_(::getpid()),
      descriptor_(RepeatWhileInterrupted(
          [&] { return ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); })),
      isHeld_(descriptor_ != -1 && Lock(descriptor_, patience)) {}

StoreLock::~StoreLock() {
  if (descriptor_ == -1) return;
  // To close it is not enough: a child that another thread forked meanwhile has it open as well.
  if (::getpid() == owner_) ::flock(descriptor_, LOCK_UN);
  ::close(descriptor_);
}

}  // namespace qvsslinit
