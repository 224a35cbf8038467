#pragma once

#include <cstdint>

#include "kit/AutoBufferGuts.h"
#include "kit/BufferWrapper.h"
#include "kit/SafeInteger.h"

namespace qv::kit {

/// A growable run of bytes. Copies share one storage until one of them changes, which then gets
/// storage of its own. Copies may live on different threads; each belongs to one thread at a time.
///
/// Lengths and offsets are 32-bit values: OutOfRange is thrown when an argument, or a length that
/// follows from it, needs more. An operation that throws, that or std::bad_alloc, leaves the bytes
/// as they were. Arguments may point into the buffer itself.
class AutoBuffer {
 public:
  /// No storage.
  AutoBuffer() noexcept = default;

  /// No bytes yet, and storage for exactly capacity.
  explicit AutoBuffer(SafeInteger<unsigned long> capacity);

  /// A copy of the wrapped bytes.
  explicit AutoBuffer(const BufferWrapper& bytes);

  /// @{
  /// Shares the storage of other.
  AutoBuffer(const AutoBuffer& other);
  AutoBuffer& operator=(const AutoBuffer& other);
  /// @}
  /// Gets a copy of the wrapped bytes. They may be this buffer's own.
  AutoBuffer& operator=(const BufferWrapper& bytes);
  ~AutoBuffer();

  /// @{
  /// Start of the storage, null without any. Whoever writes through it writes into every copy that
  /// shares it: an operation that changes this buffer must have come first.
  unsigned char* Data() noexcept;
  const unsigned char* Data() const noexcept;
  /// @}

  /// Bytes in use.
  std::uint32_t Len() const noexcept { return guts_ == nullptr ? 0 : guts_->length(); }

  /// Bytes that the storage can hold.
  std::uint32_t Capacity() const noexcept;

  /// Lets go of the storage; nothing remains.
  void Free();

  /// Makes the capacity exactly capacity if it is less.
  void Reserve(SafeInteger<unsigned long> capacity);

  /// Adds length bytes at the end. Storage that is too small gets a tenth more than is needed, at
  /// least 128 bytes.
  void Append(const void* data, SafeInteger<unsigned long> length) {
    // Buffers are mostly put together by pieces for which there is room: that much is inlined.
    if (guts_ != nullptr && guts_->hasRoomFor(length.value()) && !guts_->isShared()) {
      guts_->append(data, length.value());
    } else {
      AppendAnew(data, length);
    }
  }

  /// As Append, with the bytes in reversed order.
  void appendReverseByteOrder(const void* data, SafeInteger<unsigned long> length);

  /// Overwrites length bytes from offset on. Storage grows as it does for Append, but the length
  /// never changes: bytes behind it stay unused.
  void Modify(SafeInteger<unsigned long> offset, const void* data,
              SafeInteger<unsigned long> length);

  /// Adds count bytes of whatever value at the end. Storage that is too small gets exactly what is
  /// needed.
  void Skip(SafeInteger<unsigned long> count);

  /// Takes count bytes away from the end, or all there are. Returns count.
  std::uint32_t UnAppend(SafeInteger<unsigned long> count);

  /// Removes all bytes. Storage is kept, unless it is shared.
  void Erase();

  /// Bytes that serialize() and circularSerialize() write: 4 for the length, and the bytes. Throws
  /// OutOfRange when they need more than 32 bits.
  std::uint32_t serializationSize() const;

  /// Writes a little-endian length and the bytes at cursor and advances it; end is one past the
  /// last usable byte. Throws BufferOverflow, with cursor where it was, when there is no room. The
  /// place may lie in the buffer's own storage: the bytes are written as they were, which takes
  /// memory for a copy of them.
  void serialize(unsigned char*& cursor, const unsigned char* end) const;

  /// Replaces the bytes by those that serialize() wrote at cursor, and advances it. Throws
  /// DeserializationError, with cursor where it was, when bytes are missing.
  void deserialize(const unsigned char*& cursor, const unsigned char* end);

  // The same record in a ring: cursor is within [begin, end], goes on at begin when it reaches end,
  // and is never left standing at end. A cursor elsewhere is refused like a ring that is too small.

  /// Throws BufferOverflow, with nothing written, when the ring is smaller than the record. It may
  /// lie in the buffer's own storage, as for serialize().
  void circularSerialize(unsigned char* begin, unsigned char* end, unsigned char*& cursor) const;

  /// Throws DeserializationError, with cursor where it was, when the ring is smaller than the
  /// record.
  void circularDeserialize(const unsigned char* begin, const unsigned char* end,
                           const unsigned char*& cursor);

  /// Reads only the length, and moves cursor to the bytes. Throws DeserializationError when the
  /// ring holds fewer than 4 bytes.
  static std::uint32_t GetCircularDeserializationSize(const unsigned char* begin,
                                                      const unsigned char* end,
                                                      const unsigned char*& cursor);

 private:
  void AppendAnew(const void* data, SafeInteger<unsigned long> length);
  bool Owns(const void* data) const noexcept;
  std::uint32_t CapacityFor(std::uint32_t length) const noexcept;
  void MakePrivate(std::uint32_t capacity);
  unsigned char* Extend(std::uint32_t newLength);
  void ReplaceBy(const BufferWrapper& head, const BufferWrapper& tail);

  AutoBufferGuts* guts_ = nullptr;
};

/// Whether both hold the same bytes.
bool operator==(const AutoBuffer& a, const AutoBuffer& b) noexcept;
/// As CompareBuffers() orders the bytes.
bool operator<(const AutoBuffer& a, const AutoBuffer& b) noexcept;

}  // namespace qv::kit
