#pragma once

#include <cerrno>

namespace qv::kit::osdep {

/// The result of call, a system call that reports failure as -1: repeated as long as a signal
/// interrupts it (EINTR). errno is that of the last call.
template <typename CallT>
auto RepeatWhileInterrupted(CallT call) {
  auto result = call();
  while (result == -1 && errno == EINTR)
    result = call();
  return result;
}

}  // namespace qv::kit::osdep
