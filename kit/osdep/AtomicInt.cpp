#include "kit/osdep/AtomicInt.h"

#include <utility>

#include "kit/NumericCast.h"

namespace qv::kit::osdep {

AtomicInt::AtomicInt(int initial) : value_(initial) {}

std::int32_t AtomicInt::compareExchange(long comparand, long exchange) {
  const std::int32_t expected = LongToInt32(comparand);
  const std::int32_t replacement = LongToInt32(exchange);
  const CriticalSection::Guard guard(section_);
  const std::int32_t previous = value_;
  if (previous == expected) value_ = replacement;
  return previous;
}

std::int32_t AtomicInt::replaceAndReturn(long value) {
  const std::int32_t replacement = LongToInt32(value);
  const CriticalSection::Guard guard(section_);
  return std::exchange(value_, replacement);
}

void AtomicInt::replace(long value) {
  replaceAndReturn(value);
}

std::int32_t AtomicInt::getCount() const {
  const CriticalSection::Guard guard(section_);
  return value_;
}

}  // namespace qv::kit::osdep
