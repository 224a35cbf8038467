#pragma once

#include <cstdint>

namespace qv::kit::osdep {

// Conversion between wide text and Latin-1 that needs nothing of the system: a fall-back where
// there is no iconv. locale must be empty or "US-ASCII", anything else throws InvalidLocale.
// Both move outEnd to the end of what was written and return the number of characters written. An
// output that is full before the input is used up throws PosixError, built from whatever errno
// holds; outEnd is untouched then.

/// Each character below 256 becomes that byte, every other one "?".
std::uint32_t Latin1WideToAnsi(const wchar_t* begin, const wchar_t* end, const char* locale,
                               char* outBegin, char*& outEnd);

/// Each byte, taken as unsigned, becomes the character of the same value.
std::uint32_t Latin1AnsiToWide(const char* begin, const char* end, const char* locale,
                               wchar_t* outBegin, wchar_t*& outEnd);

}  // namespace qv::kit::osdep
