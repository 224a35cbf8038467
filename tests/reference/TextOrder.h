#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <vector>

#include "tests/reference/Utf8.h"

// The order of texts, a character at a time.
namespace reference {

/// The number that a character is ordered by: wide ones have a sign, bytes have none.
template <typename CharT>
std::int64_t Rank(CharT character, bool ignoresCase) {
  std::int64_t rank = 0;
  if constexpr (sizeof(CharT) == 1) {
    rank = static_cast<unsigned char>(character);
  } else {
    rank = static_cast<std::int32_t>(character);
  }
  return ignoresCase && rank >= 'a' && rank <= 'z' ? rank - 32 : rank;
}

/// -1 or 1 for texts that differ in a character, else the difference of their lengths.
template <typename CharT>
std::int64_t Order(const std::vector<CharT>& a, const std::vector<CharT>& b, bool ignoresCase) {
  for (std::size_t place = 0; place < std::min(a.size(), b.size()); ++place) {
    const std::int64_t difference = Rank(a[place], ignoresCase) - Rank(b[place], ignoresCase);
    if (difference != 0) return difference < 0 ? -1 : 1;
  }
  return static_cast<std::int64_t>(a.size()) - static_cast<std::int64_t>(b.size());
}

/// The same of UTF-8, whose lengths are those in bytes; nothing where a character that has to be
/// looked at is none.
inline std::optional<std::int64_t> Utf8Order(const Bytes& a, const Bytes& b, bool ignoresCase) {
  std::size_t placeInA = 0;
  std::size_t placeInB = 0;
  while (placeInA < a.size() && placeInB < b.size()) {
    const std::optional<Character> fromA = DecodeOne(a, placeInA);
    const std::optional<Character> fromB = DecodeOne(b, placeInB);
    if (!fromA || !fromB) return std::nullopt;
    const std::int64_t difference =
        Rank(fromA->value, ignoresCase) - Rank(fromB->value, ignoresCase);
    if (difference != 0) return difference < 0 ? -1 : 1;
    placeInA += fromA->length;
    placeInB += fromB->length;
  }
  return static_cast<std::int64_t>(a.size() - placeInA) -
         static_cast<std::int64_t>(b.size() - placeInB);
}

}  // namespace reference
