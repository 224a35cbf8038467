#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// UTF-8 of up to six bytes, one byte at a time from a table: slow, and plain to see.
namespace reference {

using Bytes = std::vector<unsigned char>;

struct Character {
  std::uint32_t value;
  std::size_t length;
};

struct DecoderRow {
  unsigned firstLead, lastLead;
  std::size_t length;      // bytes of the sequence, 0 for no sequence
  unsigned leadBits;       // how many low bits of the lead byte count
  unsigned exemptLead;     // leads from this one on may have any continuation byte second
  unsigned secondAtLeast;  // the others need at least this
};

inline constexpr DecoderRow kDecoderRows[] = {
    {0x00, 0x7F, 1, 7, 0x00, 0},    {0x80, 0xC1, 0, 0, 0x00, 0},    {0xC2, 0xDF, 2, 5, 0xC2, 0},
    {0xE0, 0xEF, 3, 4, 0xE1, 0xA0}, {0xF0, 0xF7, 4, 3, 0xF1, 0x90}, {0xF8, 0xFD, 6, 1, 0xFD, 0x84},
    {0xFE, 0xFF, 0, 0, 0x00, 0},
};

/// The character at position; nothing where the bytes are no character.
inline std::optional<Character> DecodeOne(const Bytes& bytes, std::size_t position) {
  const unsigned lead = bytes.at(position);
  for (const DecoderRow& row : kDecoderRows) {
    if (lead < row.firstLead || lead > row.lastLead) continue;
    if (row.length == 0 || position + row.length > bytes.size()) return std::nullopt;
    std::uint32_t value = lead % (1U << row.leadBits);
    for (std::size_t i = 1; i < row.length; ++i) {
      const unsigned byte = bytes.at(position + i);
      if (byte < 0x80 || byte > 0xBF) return std::nullopt;
      if (i == 1 && lead < row.exemptLead && byte < row.secondAtLeast) return std::nullopt;
      value = value * 64 + byte % 64;
    }
    return Character{value, row.length};
  }
  return std::nullopt;
}

/// All characters of bytes; nothing where they are not UTF-8.
inline std::optional<std::vector<std::uint32_t>> Decode(const Bytes& bytes) {
  std::vector<std::uint32_t> values;
  for (std::size_t position = 0; position < bytes.size();) {
    const std::optional<Character> character = DecodeOne(bytes, position);
    if (!character) return std::nullopt;
    values.push_back(character->value);
    position += character->length;
  }
  return values;
}

struct EncoderRow {
  std::uint32_t last;  // code points up to this
  std::size_t length;
  unsigned prefix;  // of the lead byte
};

inline constexpr EncoderRow kEncoderRows[] = {
    {0x7F, 1, 0x00},     {0x7FF, 2, 0xC0},     {0xFFFF, 3, 0xE0},
    {0x1FFFFF, 4, 0xF0}, {0x3FFFFFF, 5, 0xF8}, {0x7FFFFFFF, 6, 0xFC},
};

/// The bytes of one character, "?" for one that has none.
inline Bytes EncodeOne(std::uint32_t value) {
  for (const EncoderRow& row : kEncoderRows) {
    if (value > row.last) continue;
    Bytes bytes(row.length);
    for (std::size_t i = row.length - 1; i > 0; --i) {
      bytes[i] = static_cast<unsigned char>(0x80 + value % 64);
      value /= 64;
    }
    bytes[0] = static_cast<unsigned char>(row.prefix + value);
    return bytes;
  }
  return {'?'};
}

/// The bytes of as many of the first characters as fit whole into room bytes.
template <typename CharT>
Bytes EncodeWithin(const std::vector<CharT>& text, std::size_t room) {
  Bytes encoded;
  for (const CharT character : text) {
    const Bytes bytes = EncodeOne(static_cast<std::uint32_t>(character));
    if (encoded.size() + bytes.size() > room) break;
    encoded.insert(encoded.end(), bytes.begin(), bytes.end());
  }
  return encoded;
}

/// The bytes of all characters.
template <typename CharT>
Bytes Encode(const std::vector<CharT>& text) {
  return EncodeWithin(text, static_cast<std::size_t>(-1));
}

}  // namespace reference
