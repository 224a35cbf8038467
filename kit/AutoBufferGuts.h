#pragma once

#include <cstdint>
#include <cstring>

#include "kit/osdep/AtomicInt.h"

namespace qv::kit {

/// The storage that copies of an AutoBuffer share, with the number of them. Any thread may take and
/// give back references; everything else belongs to whoever holds the only one.
class AutoBufferGuts {
 public:
  /// No used bytes, storage for capacity, one reference. Throws std::bad_alloc.
  explicit AutoBufferGuts(std::uint32_t capacity);
  AutoBufferGuts(const AutoBufferGuts&) = delete;
  AutoBufferGuts& operator=(const AutoBufferGuts&) = delete;

  /// One more buffer shares the storage.
  void addReference() { references_.increment(); }
  /// Gives a reference back; the last one takes the object with it.
  void release();
  /// Every change of a buffer asks, so it is not to wait for the count's lock: whoever has the only
  /// reference is the one who could make another.
  bool isShared() const noexcept { return references_.peek() > 1; }

  /// Null when the capacity is 0.
  unsigned char* begin() const noexcept { return begin_; }
  /// Bytes that the storage has room for.
  std::uint32_t capacity() const noexcept { return capacity_; }
  /// Bytes in use.
  std::uint32_t length() const noexcept { return static_cast<std::uint32_t>(end_ - begin_); }

  /// length must be within the capacity; bytes that it adds have whatever value they have.
  void setLength(std::uint32_t length) noexcept { end_ = begin_ + length; }

  /// Whether so many bytes, at least one, can be added to the storage as it is.
  bool hasRoomFor(std::uint32_t count) const noexcept { return count - 1U < capacity_ - length(); }

  /// There must be room for count bytes. They may lie in this storage.
  void append(const void* data, std::uint32_t count) noexcept {
    std::memmove(end_, data, count);
    end_ += count;
  }

  /// Moves to storage of exactly capacity bytes, no less than before. Throws std::bad_alloc and
  /// changes nothing when they cannot be had.
  void grow(std::uint32_t capacity);

 private:
  ~AutoBufferGuts();

  osdep::AtomicInt references_{1};
  unsigned char* begin_ = nullptr;
  std::uint32_t capacity_ = 0;
  unsigned char* end_ = nullptr;
};

}  // namespace qv::kit
