#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kit/AddFileAndLineInfo.h"
#include "kit/NumericCast.h"
#include "kit/SafeInteger.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"

namespace qv::kit::little_endian {

/// Bytes that a value takes: 4 for the integers, however wide a long is on the platform, and 1 for
/// a character.
template <typename T>
constexpr std::uint32_t SerializedWidth() noexcept {
  constexpr bool isWord = std::is_same_v<T, long> || std::is_same_v<T, unsigned long> ||
                          std::is_same_v<T, std::int32_t> || std::is_same_v<T, std::uint32_t>;
  static_assert(isWord || std::is_same_v<T, char>, "this type has no serialized form");
  return isWord ? 4 : 1;
}

/// Whether width bytes remain between cursor and end; no when cursor is already past end.
inline bool HasRoom(const unsigned char* cursor, const unsigned char* end,
                    std::uint32_t width) noexcept {
  return cursor <= end && static_cast<std::size_t>(end - cursor) >= width;
}

/// The 32 bits that stand for value. Throws OutOfRange when value needs more of them.
template <typename T>
std::uint32_t ToBits(T value) {
  if constexpr (std::is_signed_v<T>) {
    return static_cast<std::uint32_t>(LongToInt32(value));
  } else {
    return SafeInteger<unsigned long>(value).value();
  }
}

/// Writes value at cursor, least significant byte first, and advances cursor. end is one past the
/// last usable byte. Throws BufferOverflow when the value has no room and OutOfRange when it does
/// not fit in its width; nothing is written then and cursor stays.
template <typename T>
void SerializeRaw(const T& value, unsigned char*& cursor, const unsigned char* end) {
  constexpr std::uint32_t width = SerializedWidth<T>();
  if (!HasRoom(cursor, end, width)) QV_THROW(exception::BufferOverflow());
  const std::uint32_t bits = ToBits(value);
  for (std::uint32_t i = 0; i != width; ++i) {
    *cursor++ = static_cast<unsigned char>(bits >> (8 * i));
  }
}

/// Reads value at cursor, least significant byte first, and advances cursor. Throws
/// DeserializationError when fewer bytes remain than the value takes; value and cursor stay then.
template <typename T>
void DeserializeRaw(T& value, const unsigned char*& cursor, const unsigned char* end) {
  constexpr std::uint32_t width = SerializedWidth<T>();
  static_assert(width == 4, "only integers are read back");
  if (!HasRoom(cursor, end, width)) QV_THROW(exception::DeserializationError());
  std::uint32_t bits = 0;
  for (std::uint32_t i = 0; i != width; ++i) {
    bits |= static_cast<std::uint32_t>(*cursor++) << (8 * i);
  }
  if constexpr (std::is_signed_v<T>) {
    value = static_cast<std::int32_t>(bits);
  } else {
    value = bits;
  }
}

}  // namespace qv::kit::little_endian
