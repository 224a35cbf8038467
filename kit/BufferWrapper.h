#pragma once

#include <cstdint>

#include "kit/SafeInteger.h"

namespace qv::kit {

class AutoBuffer;

/// A view of bytes that somebody else owns and that must stay where they are as long as it is used.
class BufferWrapper {
 public:
  /// No bytes.
  BufferWrapper() noexcept = default;

  /// The length bytes from data on. Throws OutOfRange when length needs more than 32 bits.
  BufferWrapper(const void* data, SafeInteger<unsigned long> length)
      : data_(static_cast<const unsigned char*>(data)), length_(length.value()) {}

  /// The used bytes of buffer, until it changes.
  BufferWrapper(const AutoBuffer& buffer) noexcept;  // NOLINT(google-explicit-constructor)

  /// Where the bytes begin; null for an empty view that was given none.
  const unsigned char* Data() const noexcept { return data_; }
  /// How many bytes they are.
  std::uint32_t Len() const noexcept { return length_; }

 private:
  const unsigned char* data_ = nullptr;
  std::uint32_t length_ = 0;
};

}  // namespace qv::kit
