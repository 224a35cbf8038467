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

}  // namespace

// Not a call that waits by itself: only a signal, and those are the host's, would put an end to it.
StoreLock::State StoreLock::Lock(int descriptor, milliseconds patience) noexcept {
  for (milliseconds waited{0}; !TryToLock(descriptor); waited += kPause) {
    if (errno != EWOULDBLOCK) return State::NotToBeHad;
    if (waited >= patience) return State::HeldByAnother;
    std::this_thread::sleep_for(kPause);
  }
  return State::Held;
}

StoreLock::StoreLock(const qv::kit::String& directory, milliseconds patience) noexcept
    : owner_(::getpid()),
      descriptor_(RepeatWhileInterrupted(
          [&] { return ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); })),
      state_(descriptor_ == -1 ? State::NotToBeHad : Lock(descriptor_, patience)) {}

StoreLock::~StoreLock() {
  if (descriptor_ == -1) return;
  // To close it is not enough: a child that another thread forked meanwhile has it open as well.
  if (::getpid() == owner_) ::flock(descriptor_, LOCK_UN);
  ::close(descriptor_);
}

}  // namespace qvsslinit
