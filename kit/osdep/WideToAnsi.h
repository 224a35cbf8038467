#pragma once

#include <cstdint>

namespace qv::kit::osdep {

// Wide text into narrow text. locale is a name that iconv knows an encoding by; the empty name is
// the encoding of the current locale, and "carbon", to the letter, is the system encoding of
// platform/SystemEncoding.h. A name that is not known throws InvalidLocale. A character that the
// encoding does not have never fails, it becomes "?". locale must not be null.
//
// Any thread may call, but the empty name and "carbon" read the locale of the process: setlocale
// meanwhile is a race. Encodings that look ahead (docs/text.md) lose a last character that another
// might have combined with.

/// Number of bytes to reserve: four for each character, or what the system encoding may need. It is
/// a bound for every encoding that spends at most four bytes on a character. Throws OutOfRange when
/// the number does not fit in 32 bits.
std::uint32_t GetWideToAnsiRequiredBufferLength(const wchar_t* begin, const wchar_t* end,
                                                const char* locale);

/// Converts into the caller's buffer, moves outEnd to the end of what was written and returns the
/// number of bytes written. Output that does not fit is cut off; no terminator is added.
std::uint32_t WideToAnsiNoAlloc(const wchar_t* begin, const wchar_t* end, const char* locale,
                                char* outBegin, char*& outEnd);

/// Converts into a new array, which the caller frees with array delete. The zero byte at outEnd is
/// not counted. The two pointers change only on success.
void WideToAnsi(const wchar_t* begin, const wchar_t* end, const char* locale, char*& outBegin,
                char*& outEnd);

/// The same, returning the new array.
char* WideToAnsi(const wchar_t* begin, const wchar_t* end, const char* locale);

/// The same for zero-terminated text, which must not be null.
char* WideToAnsi(const wchar_t* text, const char* locale);

}  // namespace qv::kit::osdep
