#include "kit/osdep/AtomicInt.h"

#include "kit/NumericCast.h"

namespace qv::kit::osdep {

AtomicInt::AtomicInt(int initial) : value_(initial) {}

std::int32_t AtomicInt::compareExchange(long comparand, long exchange) {
  const std::int32_t expected = LongToInt32(comparand);
  const std::int32_t replacement = LongToInt32(exchange);
  const CriticalSection::Guard guard(section_);
  const std::int32_t previous = peek();
  if (previous == expected) set(replacement);
  return previous;
}

std::int32_t AtomicInt::replaceAndReturn(long value) {
  const std::int32_t replacement = LongToInt32(value);
  const CriticalSection::Guard guard(section_);
  const std::int32_t previous = peek();
  set(replacement);
  return previous;
}

void AtomicInt::replace(long value) {
  replaceAndReturn(value);
}

std::int32_t AtomicInt::getCount() const {
  const CriticalSection::Guard guard(section_);
  return peek();
}

}  // namespace qv::kit::osdep
