#pragma once

#include <cstdint>

namespace qv::kit::osdep {

// All comparisons give a negative number, 0 or a positive number, as the first text comes before,
// with or after the second. Wide characters are ordered as signed 32-bit values, narrow ones as
// unsigned bytes. When one text is the beginning of the other, the result is the difference of the
// lengths, the nearest 32-bit number where it does not fit.
//
// Case is that of the C locale whatever the locale of the process: only the letters a to z have an
// upper case. Ranges may hold zero characters. Zero-terminated text must not be null.

/// @{
/// Compares without regard to case.
std::int32_t StringCaseCompare(const wchar_t* first, const wchar_t* second);
std::int32_t StringCaseCompare(const wchar_t* firstBegin, const wchar_t* firstEnd,
                               const wchar_t* secondBegin, const wchar_t* secondEnd);
std::int32_t StringCaseCompare(const char* first, const char* second);
std::int32_t StringCaseCompare(const char* firstBegin, const char* firstEnd,
                               const char* secondBegin, const char* secondEnd);
/// @}

/// @{
/// Whether StringCaseCompare gives 0, which takes less time to find than an order does.
bool StringCaseEqual(const wchar_t* firstBegin, const wchar_t* firstEnd, const wchar_t* secondBegin,
                     const wchar_t* secondEnd);
bool StringCaseEqual(const char* firstBegin, const char* firstEnd, const char* secondBegin,
                     const char* secondEnd);
/// @}

/// @{
/// Compares with regard to case.
std::int32_t StringExactCompare(const wchar_t* first, const wchar_t* second);
std::int32_t StringExactCompare(const wchar_t* firstBegin, const wchar_t* firstEnd,
                                const wchar_t* secondBegin, const wchar_t* secondEnd);
std::int32_t StringExactCompare(const char* first, const char* second);
std::int32_t StringExactCompare(const char* firstBegin, const char* firstEnd,
                                const char* secondBegin, const char* secondEnd);
/// @}

/// The work behind the wide StringCaseCompare.
std::int32_t CLocaleStringCaseCompare(const wchar_t* firstBegin, const wchar_t* firstEnd,
                                      const wchar_t* secondBegin, const wchar_t* secondEnd);

/// @{
/// Compares UTF-8 text character by character, without regard to case. Lengths are counted in
/// bytes. Throws InvalidSequence for a character that cannot be decoded, if the comparison gets as
/// far as that.
std::int32_t Utf8StringCaseInsensitiveCompare(const unsigned char* first,
                                              const unsigned char* second);
std::int32_t Utf8StringCaseInsensitiveCompare(const unsigned char* firstBegin,
                                              const unsigned char* firstEnd,
                                              const unsigned char* secondBegin,
                                              const unsigned char* secondEnd);
/// @}

/// @{
/// As Utf8StringCaseInsensitiveCompare, with regard to case.
std::int32_t Utf8StringExactCompare(const unsigned char* first, const unsigned char* second);
std::int32_t Utf8StringExactCompare(const unsigned char* firstBegin, const unsigned char* firstEnd,
                                    const unsigned char* secondBegin,
                                    const unsigned char* secondEnd);
/// @}

/// The work behind the comparisons of UTF-8 text.
std::int32_t Utf8StringCompareInternal(const unsigned char* firstBegin,
                                       const unsigned char* firstEnd,
                                       const unsigned char* secondBegin,
                                       const unsigned char* secondEnd, bool caseInsensitive);

}  // namespace qv::kit::osdep
