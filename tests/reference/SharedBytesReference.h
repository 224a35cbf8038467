#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

namespace qv::tests {

/// A run of bytes whose copies share one storage until one of them changes: a plain vector as long
/// as the capacity, in which a byte that nobody has written is none.
class SharedBytesReference {
 public:
  using Byte = std::optional<unsigned char>;
  using Bytes = std::vector<Byte>;

  static Bytes Known(const std::vector<unsigned char>& bytes) {
    return Bytes(bytes.begin(), bytes.end());
  }

  SharedBytesReference() = default;
  explicit SharedBytesReference(std::size_t capacity)
      : storage_(std::make_shared<Storage>(Storage{Bytes(capacity), 0})) {}

  std::size_t length() const { return storage_ == nullptr ? 0 : storage_->length; }
  std::size_t capacity() const { return storage_ == nullptr ? 0 : storage_->bytes.size(); }
  bool sharesWith(const SharedBytesReference& other) const {
    return storage_ != nullptr && storage_ == other.storage_;
  }
  /// The byte at a place before the end.
  const Byte& operator[](std::size_t place) const { return storage_->bytes[place]; }
  Bytes bytes() const {
    if (storage_ == nullptr) return {};
    return Bytes(storage_->bytes.begin(),
                 storage_->bytes.begin() + static_cast<std::ptrdiff_t>(storage_->length));
  }

  void free() { storage_.reset(); }

  void reserve(std::size_t capacity) {
    if (capacity > this->capacity()) own(capacity);
  }

  void append(const Bytes& added) {
    if (added.empty()) return;
    const std::size_t place = length();
    own(roomy(place + added.size()));
    storage_->length = place + added.size();
    put(place, added);
  }

  void appendReversed(Bytes added) {
    std::reverse(added.begin(), added.end());
    append(added);
  }

  void modify(std::size_t offset, const Bytes& bytes) {
    own(roomy(offset + bytes.size()));
    put(offset, bytes);
  }

  void skip(std::size_t count) {
    own(std::max(capacity(), length() + count));
    storage_->length += count;
  }

  void unAppend(std::size_t count) {
    if (storage_ == nullptr) return;
    own(capacity());
    storage_->length -= std::min(storage_->length, count);
  }

  void erase() {
    if (length() == 0) return;
    if (isShared()) {
      free();
    } else {
      storage_->length = 0;
    }
  }

  void replaceBy(const Bytes& bytes) {
    reserve(bytes.size());
    erase();
    append(bytes);
  }

  /// Writes bytes that are there, in storage that is not shared.
  void put(std::size_t place, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(),
              storage_->bytes.begin() + static_cast<std::ptrdiff_t>(place));
  }

 private:
  struct Storage {
    Bytes bytes;
    std::size_t length;
  };

  bool isShared() const { return storage_.use_count() > 1; }

  /// The capacity for that many bytes: a tenth more, at least 128, where there is not enough.
  std::size_t roomy(std::size_t needed) const {
    if (needed <= capacity()) return capacity();
    return needed + (needed / 10 < 129 ? 128 : needed / 10);
  }

  /// Leaves this one with storage of its own and of that capacity. Only the used bytes come along.
  void own(std::size_t capacity) {
    if (storage_ != nullptr && !isShared() && capacity == this->capacity()) return;
    Bytes moved = bytes();
    const std::size_t length = moved.size();
    moved.resize(std::max(capacity, this->capacity()));
    storage_ = std::make_shared<Storage>(Storage{moved, length});
  }

  std::shared_ptr<Storage> storage_;
};

}  // namespace qv::tests
