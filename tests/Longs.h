#pragma once

#include <cstdint>
#include <vector>

// What a test of arguments of type long goes through: a long has 64 bits on some platforms, and
// what is taken has 32 on all of them.

/// Values at the limits of 32 and of 64 bits and on either side of them, as a Long has them: one of
/// 32 bits has their low halves.
template <typename Long>
std::vector<Long> LongsAroundTheLimits() {
  std::vector<Long> longs;
  for (const std::uint64_t limit :
       {std::uint64_t{0}, std::uint64_t{1} << 31U, std::uint64_t{1} << 32U, std::uint64_t{1} << 63U,
        ~std::uint64_t{0} << 31U, ~std::uint64_t{0} << 32U}) {
    for (const std::uint64_t value : {limit - 1, limit, limit + 1})
      longs.push_back(static_cast<Long>(value));
  }
  return longs;
}

inline bool FitsInt32(std::int64_t value) {
  return value >= INT32_MIN && value <= INT32_MAX;
}

/// No negative value of a signed type does.
inline bool FitsUint32(std::uint64_t value) {
  return value <= UINT32_MAX;
}
