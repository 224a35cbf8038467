#pragma once

#include <atomic>
#include <cstdint>

#include "kit/osdep/CriticalSection.h"

namespace qv::kit::osdep {

/// A signed 32-bit integer whose every operation is done under a lock of its own. Any thread may
/// call. Not copyable.
///
/// Arguments of type long must fit in 32 bits: OutOfRange is thrown otherwise, and nothing changes.
class AtomicInt {
 public:
  /// Throws std::bad_alloc when the system has no memory for another lock.
  explicit AtomicInt(int initial);

  /// Becomes exchange if the value equals comparand. Returns the value from before the call.
  std::int32_t compareExchange(long comparand, long exchange);

  /// Becomes value and returns the previous value.
  std::int32_t replaceAndReturn(long value);

  /// Becomes value.
  void replace(long value);

  /// The value, once nobody is changing it.
  std::int32_t getCount() const;

  /// The value without waiting for the lock, for callers to whom that of a moment ago is as good.
  /// What the thread that set it did before is seen.
  std::int32_t peek() const noexcept { return value_.load(std::memory_order_acquire); }

  /// Adds 1 and returns the new value. The largest value is followed by the smallest.
  std::int32_t increment() { return add(1); }

  /// Subtracts 1 and returns the new value. The smallest value is followed by the largest.
  std::int32_t decrement() { return add(0xFFFFFFFFU); }

  /// @{
  /// Compares the value of the moment, as getCount() gives it.
  bool operator>=(int other) const { return getCount() >= other; }
  bool operator>(int other) const { return getCount() > other; }
  bool operator!=(int other) const { return getCount() != other; }
  bool operator==(int other) const { return getCount() == other; }
  /// @}

 private:
  // In unsigned arithmetic, which is defined to wrap.
  std::int32_t add(std::uint32_t difference) {
    const CriticalSection::Guard guard(section_);
    const auto sum = static_cast<std::int32_t>(static_cast<std::uint32_t>(peek()) + difference);
    set(sum);
    return sum;
  }

  // Only under the lock.
  void set(std::int32_t value) noexcept { value_.store(value, std::memory_order_release); }

  std::atomic<std::int32_t> value_;
  CriticalSection section_;
};

}  // namespace qv::kit::osdep
