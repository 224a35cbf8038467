#pragma once

#include <cstddef>

namespace qv::kit {

/// How many characters the conversions of UTF-8 look at, and write, together: text is ASCII mostly.
constexpr std::ptrdiff_t kUtf8Run = 32;

/// The longest character of UTF-8, in bytes.
constexpr std::ptrdiff_t kLongestInUtf8 = 6;

}  // namespace qv::kit
