#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "kit/AddFileAndLineInfo.h"
#include "kit/DLLAlloc.h"
#include "kit/SafeInteger.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/OutOfRange.h"
#include "kit/little_endian.h"

namespace qv::kit {

/// Fewest bytes that a serialized T takes. Every form begins with a count or a code of 4 bytes;
/// types whose forms are always longer say so in a specialisation.
template <typename T>
inline constexpr std::uint32_t kLeastSerializationSize = 4;

/// A growable array whose storage may cross module boundaries. Sizes are counts of elements. An
/// operation that throws leaves the vector as it was: whatever an element's copy throws,
/// std::bad_alloc, or OutOfRange when a size in bytes needs more than 32 bits.
template <typename T>
class Vector {
 public:
  /// @{
  /// As standard containers have them. Iterators are valid until the storage changes.
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;
  /// @}

  /// No storage.
  Vector() noexcept = default;

  /// count default-constructed elements.
  explicit Vector(unsigned int count) : Vector() {
    allocate(count);
    while (end_ != capacityEnd_)
      append();
  }

  /// Copies the elements; the capacity is their number.
  Vector(const Vector& other) : Vector() {
    allocate(other.size());
    appendCopies(other);
  }

  /// Leaves other without storage.
  Vector(Vector&& other) noexcept : Vector() { swap(other); }

  /// Takes what other was copied or moved to.
  Vector& operator=(Vector other) noexcept {
    swap(other);
    return *this;
  }

  ~Vector() {
    // Compilers count the elements down even where there is nothing to be done with them.
    if constexpr (!std::is_trivially_destructible_v<T>) {
      while (end_ != begin_)
        (--end_)->~T();
    }
    DLLFree(begin_);
  }

  /// Elements that are there.
  std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(end_ - begin_); }
  /// Elements that the storage has room for.
  std::uint32_t capacity() const noexcept {
    return static_cast<std::uint32_t>(capacityEnd_ - begin_);
  }

  /// @{
  /// Null without storage.
  iterator begin() noexcept { return begin_; }
  iterator end() noexcept { return end_; }
  const_iterator begin() const noexcept { return begin_; }
  const_iterator end() const noexcept { return end_; }
  /// @}

  /// @{
  /// index must be below size(): it is not checked.
  T& operator[](unsigned int index) noexcept { return begin_[index]; }
  const T& operator[](unsigned int index) const noexcept { return begin_[index]; }
  /// @}

  /// @{
  /// Throws OutOfRange when index is not below size().
  T& at(unsigned int index) {
    requireIndex(index);
    return begin_[index];
  }
  const T& at(unsigned int index) const {
    requireIndex(index);
    return begin_[index];
  }
  /// @}

  /// Appends a copy of element, which may be an element of this vector.
  void push_back(const T& element) {
    if (end_ != capacityEnd_) {
      append(element);
      return;
    }
    Vector grown;
    grown.allocate(calculateNewCapacity());
    grown.appendCopies(*this);
    grown.append(element);
    swap(grown);
  }

  /// Makes the capacity exactly capacity if it is less.
  void reserve(unsigned int capacity) {
    if (capacity <= this->capacity()) return;
    Vector grown;
    grown.allocate(capacity);
    grown.appendCopies(*this);
    swap(grown);
  }

  /// Copies no element: storage changes hands.
  void swap(Vector& other) noexcept {
    std::swap(begin_, other.begin_);
    std::swap(end_, other.end_);
    std::swap(capacityEnd_, other.capacityEnd_);
  }

  /// What a full vector of this capacity grows to: twice as much and one, or just one more where
  /// doubling needs more than 32 bits. Throws OutOfRange for 0xFFFFFFFF.
  static std::uint32_t calculateNewCapacity(std::uint32_t capacity) {
    const bool canDouble = capacity <= std::numeric_limits<std::uint32_t>::max() / 2;
    return SafeInteger<unsigned long>::Add(canDouble ? 2 * capacity : capacity, 1).value();
  }

  /// The same for this vector's capacity.
  std::uint32_t calculateNewCapacity() const { return calculateNewCapacity(capacity()); }

  /// Bytes that serialize() writes. Where the sum needs more than 32 bits it stops before the
  /// element that is too much.
  std::uint32_t serializationSize() const {
    std::uint32_t sum = 4;
    for (const T& element : *this) {
      const std::uint32_t size = element.serializationSize();
      if (size > std::numeric_limits<std::uint32_t>::max() - sum) break;
      sum += size;
    }
    return sum;
  }

  /// Writes the number of elements and each element at cursor and advances it; end is one past the
  /// last usable byte. Throws BufferOverflow, with nothing written, when there is no room for all.
  /// Where serializationSize() stops early, only the part that it counts is checked ahead, and a
  /// lack of room for the rest shows when elements have been written. cursor stays where it was
  /// when anything is thrown.
  void serialize(unsigned char*& cursor, const unsigned char* end) const {
    if (!little_endian::HasRoom(cursor, end, serializationSize())) {
      QV_THROW(exception::BufferOverflow());
    }
    unsigned char* position = cursor;
    little_endian::SerializeRaw<std::uint32_t>(size(), position, end);
    for (const T& element : *this)
      element.serialize(position, end);
    cursor = position;
  }

  /// Replaces the elements by those that serialize() wrote at cursor, and advances it. Throws
  /// DeserializationError when bytes are missing, or what an element throws; cursor and elements
  /// stay as they were then.
  void deserialize(const unsigned char*& cursor, const unsigned char* end) {
    const unsigned char* position = cursor;
    std::uint32_t count = 0;
    little_endian::DeserializeRaw<std::uint32_t>(count, position, end);
    if (count > static_cast<std::size_t>(end - cursor)) {
      QV_THROW(exception::DeserializationError());
    }
    requireBytes(count);
    if (count > static_cast<std::size_t>(end - position) / kLeastSerializationSize<T>) {
      failToRead(count, position, end);
    }
    Vector elements(count);
    for (T& element : elements)
      element.deserialize(position, end);
    swap(elements);
    cursor = position;
  }

 private:
  static std::uint32_t requireBytes(std::uint32_t count) {
    return (SafeInteger<unsigned long>(count) * sizeof(T)).value();
  }

  // For a count that the bytes cannot hold: reading fails at the element where it has to, with that
  // element's own error, and no memory is taken for the others.
  [[noreturn]] static void failToRead(std::uint32_t count, const unsigned char* position,
                                      const unsigned char* end) {
    for (std::uint32_t i = 0; i != count; ++i)
      T().deserialize(position, end);
    QV_THROW(exception::DeserializationError());
  }

  void requireIndex(unsigned int index) const {
    if (index >= size()) QV_THROW(exception::OutOfRange());
  }

  // Only for a vector without storage.
  void allocate(std::uint32_t capacity) {
    static_assert(alignof(T) <= alignof(std::max_align_t), "DLLMalloc aligns no further");
    const std::uint32_t bytes = requireBytes(capacity);
    if (bytes == 0) return;
    begin_ = static_cast<T*>(DLLMalloc(bytes));
    end_ = begin_;
    capacityEnd_ = begin_ + capacity;
  }

  // Only with room left.
  template <typename... Arguments>
  void append(const Arguments&... arguments) {
    ::new (static_cast<void*>(end_)) T(arguments...);
    ++end_;
  }

  void appendCopies(const Vector& other) {
    for (const T& element : other)
      append(element);
  }

  T* begin_ = nullptr;
  T* end_ = nullptr;
  T* capacityEnd_ = nullptr;
};

}  // namespace qv::kit
