#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/Input.h"

namespace qv::fuzz {

/// Wide characters of any size: a byte below 80 is one by itself, others say how many bytes follow
/// that are one together.
inline std::vector<wchar_t> CharactersOf(const std::string& bytes) {
  Input input(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  std::vector<wchar_t> text;
  while (!input.empty()) {
    std::uint32_t value = input.byte();
    if (value >= 0x80) {
      std::uint32_t more = value % 4;
      for (value = input.byte(); more > 0; --more)
        value = value << 8U | input.byte();
    }
    text.push_back(static_cast<wchar_t>(value));
  }
  return text;
}

}  // namespace qv::fuzz
