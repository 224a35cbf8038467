#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/reference/Utf8.h"

// Text in the few encodings that need no tables.
namespace reference {

enum class Encoding { ascii, latin1, utf8, utf16 };

inline bool IsUnicode(std::uint32_t value) {
  return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

/// The character at position in an encoding, if there is one.
inline std::optional<Character> DecodeOneOf(Encoding encoding, const Bytes& bytes,
                                            std::size_t position) {
  const auto unit = [&bytes](std::size_t at) -> std::uint32_t {
    return at + 2 <= bytes.size() ? bytes[at] + 256U * bytes[at + 1] : 0xDC00U;
  };
  const auto valid = [](std::uint32_t value, std::size_t length) {
    return IsUnicode(value) ? std::optional(Character{value, length}) : std::nullopt;
  };
  switch (encoding) {
    case Encoding::ascii:
      return bytes[position] < 0x80 ? valid(bytes[position], 1) : std::nullopt;
    case Encoding::latin1:
      return valid(bytes[position], 1);
    case Encoding::utf8: {
      const std::optional<Character> early = DecodeOne(bytes, position);
      return early ? valid(early->value, early->length) : early;
    }
    default: {
      const std::uint32_t first = unit(position);
      if (first < 0xD800 || first > 0xDBFF) return valid(first, 2);
      if (position + 4 > bytes.size()) return std::nullopt;
      const std::uint32_t second = unit(position + 2);
      if (second < 0xDC00 || second > 0xDFFF) return std::nullopt;
      return Character{0x10000 + (first - 0xD800) * 0x400 + (second - 0xDC00), 4};
    }
  }
}

/// The bytes of a character in an encoding, if it has any. Those that only tag text are skipped
/// where an encoding lacks them, and so have none but are no failure.
inline std::optional<Bytes> EncodeOneIn(Encoding encoding, std::uint32_t value) {
  const auto unit = [](std::uint32_t half) {
    return Bytes{static_cast<unsigned char>(half % 256), static_cast<unsigned char>(half / 256)};
  };
  if (!IsUnicode(value)) return std::nullopt;
  if (encoding == Encoding::utf8) return EncodeOne(value);
  if (encoding == Encoding::utf16) {
    if (value < 0x10000) return unit(value);
    Bytes bytes = unit(0xD800 + (value - 0x10000) / 0x400);
    const Bytes low = unit(0xDC00 + (value - 0x10000) % 0x400);
    bytes.insert(bytes.end(), low.begin(), low.end());
    return bytes;
  }
  if (value / 0x80 == 0xE0000 / 0x80) return Bytes();
  if (value >= (encoding == Encoding::ascii ? 0x80U : 0x100U)) return std::nullopt;
  return Bytes{static_cast<unsigned char>(value)};
}

/// Bytes as characters, each byte that belongs to none as "?", up to room of them.
inline std::vector<std::uint32_t> DecodeLeniently(Encoding encoding, const Bytes& bytes,
                                                  std::size_t room) {
  std::vector<std::uint32_t> text;
  for (std::size_t position = 0; position < bytes.size() && text.size() < room;) {
    const std::optional<Character> character = DecodeOneOf(encoding, bytes, position);
    text.push_back(character ? character->value : '?');
    position += character ? character->length : 1;
  }
  return text;
}

/// Characters as bytes, each one that has none, or too many for the room that is left, as "?".
inline Bytes EncodeLeniently(Encoding encoding, const std::vector<std::uint32_t>& text,
                             std::size_t room) {
  Bytes encoded;
  for (const std::uint32_t value : text) {
    if (encoded.size() == room) break;
    const std::optional<Bytes> bytes = EncodeOneIn(encoding, value);
    if (bytes && bytes->size() <= room - encoded.size()) {
      encoded.insert(encoded.end(), bytes->begin(), bytes->end());
    } else {
      encoded.push_back('?');
    }
  }
  return encoded;
}

}  // namespace reference
