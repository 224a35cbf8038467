#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace qv::tests {

/// A string of any form with these characters, zeros included.
template <typename S>
S FromAscii(std::string_view text) {
  S result;
  for (const char character : text) {
    result += static_cast<std::decay_t<decltype(result[0])>>(character);
  }
  return result;
}

/// The characters of an ASCII string of any form.
template <typename S>
std::string ToAscii(const S& string) {
  std::string result;
  for (const auto character : string)
    result += static_cast<char>(character);
  return result;
}

}  // namespace qv::tests
