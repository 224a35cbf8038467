#include "kit/osdep/ThreadID.h"

#include <cstdint>

#include "kit/osdep/IntegerToString.h"

namespace qv::kit::osdep {

ThreadID ThreadID::getCallingID() noexcept {
  ThreadID calling;
  calling.id_ = pthread_self();
  return calling;
}

bool ThreadID::operator==(const ThreadID& other) const noexcept {
  return pthread_equal(id_, other.id_) != 0;
}

bool ThreadID::isCurrentThread() const noexcept {
  return *this == getCallingID();
}

WString ThreadID::getDisplayStringHex() const {
  // A number on some systems and a pointer on others.
  return UInt64ToString(std::uintptr_t(id_), 16);
}

}  // namespace qv::kit::osdep
