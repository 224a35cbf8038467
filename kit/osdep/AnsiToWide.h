#pragma once

#include <cstdint>

namespace qv::kit::osdep {

// Narrow text into wide text. locale is a name that iconv knows an encoding by; the empty name is
// the encoding of the current locale, and "carbon", to the letter, is the system encoding of
// platform/SystemEncoding.h. A name that is not known throws InvalidLocale. Input that is not
// text in that encoding never fails, each offending byte becomes "?". locale must not be null.
//
// Any thread may call, but the empty name and "carbon" read the locale of the process: setlocale
// meanwhile is a race. Encodings that look ahead (docs/text.md) lose a last character that another
// might have combined with.

/// Number of wide characters to reserve: one for each byte. A bound, not what comes out: characters
/// of several bytes give fewer, and so does a last one that is kept back. Throws OutOfRange when
/// the range is longer than 32 bits count.
std::uint32_t GetAnsiToWideRequiredBufferLength(const char* begin, const char* end,
                                                const char* locale);

/// Converts into the caller's buffer, moves outEnd to the end of what was written and returns the
/// number of characters written. Output that does not fit is cut off; no terminator is added.
std::uint32_t AnsiToWideNoAlloc(const char* begin, const char* end, const char* locale,
                                wchar_t* outBegin, wchar_t*& outEnd);

/// Converts into a new array, which the caller frees with array delete. The zero character at
/// outEnd is not counted. The two pointers change only on success.
void AnsiToWide(const char* begin, const char* end, const char* locale, wchar_t*& outBegin,
                wchar_t*& outEnd);

/// The same, returning the new array.
wchar_t* AnsiToWide(const char* begin, const char* end, const char* locale);

}  // namespace qv::kit::osdep
