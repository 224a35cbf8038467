#include "kit/StringCompare.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <limits>
#include <type_traits>

#include "kit/Utf8ToWide.h"

namespace qv::kit::osdep {
namespace {

// The C library's own mapping follows the locale of the process, the C locale's mapping is this.
template <typename CharT>
CharT ToUpper(CharT character) {
  const bool isLower = character >= CharT{'a'} && character <= CharT{'z'};
  return isLower ? static_cast<CharT>(character - CharT{'a'} + CharT{'A'}) : character;
}

template <typename CharT>
CharT Unchanged(CharT character) {
  return character;
}

// The number by which a character is ordered; whether wchar_t and char have a sign differs between
// machines, the order does not.
std::int32_t Rank(wchar_t character) {
  return static_cast<std::int32_t>(character);
}
std::int32_t Rank(char character) {
  return static_cast<unsigned char>(character);
}

template <typename CharT>
std::int32_t CompareCharacters(CharT first, CharT second) {
  return (Rank(first) > Rank(second)) - (Rank(first) < Rank(second));
}

std::int32_t LengthDifference(std::ptrdiff_t first, std::ptrdiff_t second) {
  using Limits = std::numeric_limits<std::int32_t>;
  const std::int64_t difference = std::int64_t{first} - std::int64_t{second};
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(difference, Limits::min(), Limits::max()));
}

/// Characters that are compared together, in a vector of the compiler's own, which it has on every
/// machine. A loop over single characters becomes one of vectors as well, but then gathers what
/// each of their parts has found, which takes as long as to find it.
template <typename CharT>
struct Run {
  using Bits = std::conditional_t<sizeof(CharT) == 1, std::uint8_t, std::uint32_t>;
  using Vector [[gnu::vector_size(16)]] = Bits;
  using Words [[gnu::vector_size(16)]] = std::uint64_t;
  static constexpr std::ptrdiff_t kLength = sizeof(Vector) / sizeof(CharT);
  static constexpr Bits kCase = 'a' ^ 'A';

  /// Adds to differences those of two runs, but for the bit of a letter's case.
  static void compare(const CharT* first, const CharT* second, Words& differences) {
    Vector one;
    Vector other;
    std::memcpy(&one, first, sizeof(one));
    std::memcpy(&other, second, sizeof(other));
    const auto isLetter = reinterpret_cast<Vector>((one | kCase) - Bits{'a'} <= Bits{'z' - 'a'});
    differences |= reinterpret_cast<Words>((one ^ other) & ~(isLetter & kCase));
  }
};

/// Whether two stretches of two runs each are equal but for the case of letters.
template <typename CharT>
bool AreEqualRuns(const CharT* first, const CharT* second) {
  typename Run<CharT>::Words differences{};
  Run<CharT>::compare(first, second, differences);
  Run<CharT>::compare(first + Run<CharT>::kLength, second + Run<CharT>::kLength, differences);
  return (differences[0] | differences[1]) == 0;
}

template <typename CharT>
bool AreEqualRanges(const CharT* first, const CharT* firstEnd, const CharT* second,
                    const CharT* secondEnd) {
  if (firstEnd - first != secondEnd - second) {
    return false;
  }
  constexpr std::ptrdiff_t kStep = 2 * Run<CharT>::kLength;
  for (; firstEnd - first >= kStep; first += kStep, second += kStep) {
    if (!AreEqualRuns(first, second)) {
      return false;
    }
  }
  for (; first < firstEnd; ++first, ++second) {
    if (ToUpper(*first) != ToUpper(*second)) {
      return false;
    }
  }
  return true;
}

template <auto map, typename CharT>
std::int32_t CompareRanges(const CharT* first, const CharT* firstEnd, const CharT* second,
                           const CharT* secondEnd) {
  for (; first != firstEnd && second != secondEnd; ++first, ++second) {
    const std::int32_t order = CompareCharacters(map(*first), map(*second));
    if (order != 0) {
      return order;
    }
  }
  return LengthDifference(firstEnd - first, secondEnd - second);
}

const wchar_t* EndOf(const wchar_t* text) {
  return text + std::wcslen(text);
}
const char* EndOf(const char* text) {
  return text + std::strlen(text);
}
const unsigned char* EndOf(const unsigned char* text) {
  return text + std::strlen(reinterpret_cast<const char*>(text));
}

}  // namespace

std::int32_t StringCaseCompare(const wchar_t* first, const wchar_t* second) {
  return StringCaseCompare(first, EndOf(first), second, EndOf(second));
}

std::int32_t StringCaseCompare(const wchar_t* firstBegin, const wchar_t* firstEnd,
                               const wchar_t* secondBegin, const wchar_t* secondEnd) {
  return CLocaleStringCaseCompare(firstBegin, firstEnd, secondBegin, secondEnd);
}

std::int32_t StringCaseCompare(const char* first, const char* second) {
  return StringCaseCompare(first, EndOf(first), second, EndOf(second));
}

std::int32_t StringCaseCompare(const char* firstBegin, const char* firstEnd,
                               const char* secondBegin, const char* secondEnd) {
  return CompareRanges<ToUpper<char>>(firstBegin, firstEnd, secondBegin, secondEnd);
}

bool StringCaseEqual(const wchar_t* firstBegin, const wchar_t* firstEnd, const wchar_t* secondBegin,
                     const wchar_t* secondEnd) {
  return AreEqualRanges(firstBegin, firstEnd, secondBegin, secondEnd);
}

bool StringCaseEqual(const char* firstBegin, const char* firstEnd, const char* secondBegin,
                     const char* secondEnd) {
  return AreEqualRanges(firstBegin, firstEnd, secondBegin, secondEnd);
}

std::int32_t StringExactCompare(const wchar_t* first, const wchar_t* second) {
  return StringExactCompare(first, EndOf(first), second, EndOf(second));
}

std::int32_t StringExactCompare(const wchar_t* firstBegin, const wchar_t* firstEnd,
                                const wchar_t* secondBegin, const wchar_t* secondEnd) {
  return CompareRanges<Unchanged<wchar_t>>(firstBegin, firstEnd, secondBegin, secondEnd);
}

std::int32_t StringExactCompare(const char* first, const char* second) {
  return StringExactCompare(first, EndOf(first), second, EndOf(second));
}

std::int32_t StringExactCompare(const char* firstBegin, const char* firstEnd,
                                const char* secondBegin, const char* secondEnd) {
  return CompareRanges<Unchanged<char>>(firstBegin, firstEnd, secondBegin, secondEnd);
}

std::int32_t CLocaleStringCaseCompare(const wchar_t* firstBegin, const wchar_t* firstEnd,
                                      const wchar_t* secondBegin, const wchar_t* secondEnd) {
  return CompareRanges<ToUpper<wchar_t>>(firstBegin, firstEnd, secondBegin, secondEnd);
}

std::int32_t Utf8StringCaseInsensitiveCompare(const unsigned char* first,
                                              const unsigned char* second) {
  return Utf8StringCaseInsensitiveCompare(first, EndOf(first), second, EndOf(second));
}

std::int32_t Utf8StringCaseInsensitiveCompare(const unsigned char* firstBegin,
                                              const unsigned char* firstEnd,
                                              const unsigned char* secondBegin,
                                              const unsigned char* secondEnd) {
  return Utf8StringCompareInternal(firstBegin, firstEnd, secondBegin, secondEnd, true);
}

std::int32_t Utf8StringExactCompare(const unsigned char* first, const unsigned char* second) {
  return Utf8StringExactCompare(first, EndOf(first), second, EndOf(second));
}

std::int32_t Utf8StringExactCompare(const unsigned char* firstBegin, const unsigned char* firstEnd,
                                    const unsigned char* secondBegin,
                                    const unsigned char* secondEnd) {
  return Utf8StringCompareInternal(firstBegin, firstEnd, secondBegin, secondEnd, false);
}

std::int32_t Utf8StringCompareInternal(const unsigned char* firstBegin,
                                       const unsigned char* firstEnd,
                                       const unsigned char* secondBegin,
                                       const unsigned char* secondEnd, bool caseInsensitive) {
  wchar_t (*const map)(wchar_t) = caseInsensitive ? ToUpper<wchar_t> : Unchanged<wchar_t>;
  while (firstBegin != firstEnd && secondBegin != secondEnd) {
    wchar_t first = 0;
    wchar_t second = 0;
    firstBegin = ConvertNextUtf8Character(firstBegin, firstEnd, first);
    secondBegin = ConvertNextUtf8Character(secondBegin, secondEnd, second);
    const std::int32_t order = CompareCharacters(map(first), map(second));
    if (order != 0) {
      return order;
    }
  }
  return LengthDifference(firstEnd - firstBegin, secondEnd - secondBegin);
}

}  // namespace qv::kit::osdep
