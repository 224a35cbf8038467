#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace qv::kit::osdep {

/// Whether locale, which must not be null, is the reserved name of the system encoding.
inline bool IsSystemEncoding(const char* locale) {
  return std::strcmp(locale, "carbon") == 0;
}

/// What both directions of locale conversion do to convert into a new array: make room for the
/// required length and a terminator, convert, and terminate what was produced, which lacks a last
/// character that an encoding kept back to look ahead. An empty input needs no conversion, so its
/// locale is not looked at. outBegin and outEnd change only on success.
template <auto requiredLength, auto convert, typename FromT, typename ToT>
void AllocateConverted(const FromT* begin, const FromT* end, const char* locale, ToT*& outBegin,
                       ToT*& outEnd) {
  const std::uint32_t room = begin == end ? 0 : requiredLength(begin, end, locale);
  std::unique_ptr<ToT[]> converted(new ToT[std::size_t{room} + 1]);
  ToT* convertedEnd = converted.get() + room;
  if (begin != end) {
    convert(begin, end, locale, converted.get(), convertedEnd);
  }
  *convertedEnd = ToT{};
  outBegin = converted.release();
  outEnd = convertedEnd;
}

}  // namespace qv::kit::osdep
