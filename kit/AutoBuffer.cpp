#include "kit/AutoBuffer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <utility>

#include "kit/AddFileAndLineInfo.h"
#include "kit/CompareBuffers.h"
#include "kit/big_endian.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"
#include "kit/little_endian.h"

namespace qv::kit {

namespace {

constexpr std::uint32_t kLengthBytes = 4;
constexpr std::uint32_t kLeastSlack = 128;

std::uint32_t WithSlack(std::uint32_t length) noexcept {
  const std::uint32_t slack = std::max(length / 10, kLeastSlack);
  return slack > std::numeric_limits<std::uint32_t>::max() - length ? length : length + slack;
}

/// Whether cursor lies in a ring that has room for a record of length bytes. The sum is never
/// formed: it may need more than 32 bits.
bool RingHolds(const unsigned char* begin, const unsigned char* end, const unsigned char* cursor,
               std::uint32_t length) noexcept {
  return begin <= cursor && cursor <= end && little_endian::HasRoom(begin, end, kLengthBytes) &&
         little_endian::HasRoom(begin + kLengthBytes, end, length);
}

/// Calls copyPiece(place, size, offset) for the one or two pieces of length bytes from cursor on,
/// and moves cursor past them.
template <typename Byte, typename CopyPiece>
void ForEachPiece(Byte* begin, Byte* end, Byte*& cursor, std::uint32_t length,
                  CopyPiece copyPiece) {
  std::uint32_t done = 0;
  while (done != length) {
    const auto untilEnd = static_cast<std::size_t>(end - cursor);
    const auto piece = static_cast<std::uint32_t>(std::min<std::size_t>(untilEnd, length - done));
    copyPiece(cursor, piece, done);
    done += piece;
    cursor += piece;
    if (cursor == end) cursor = begin;
  }
}

/// memcpy that allows null for no bytes.
void CopyBytes(unsigned char* destination, const void* source, std::uint32_t count) noexcept {
  if (count != 0) std::memcpy(destination, source, count);
}

}  // namespace

AutoBuffer::AutoBuffer(SafeInteger<unsigned long> capacity)
    : guts_(new AutoBufferGuts(capacity.value())) {}

AutoBuffer::AutoBuffer(const BufferWrapper& bytes) : AutoBuffer() {
  Append(bytes.Data(), bytes.Len());
}

AutoBuffer::AutoBuffer(const AutoBuffer& other) : guts_(other.guts_) {
  if (guts_ != nullptr) guts_->addReference();
}

AutoBuffer& AutoBuffer::operator=(const AutoBuffer& other) {
  if (this == &other || guts_ == other.guts_) return *this;
  Free();
  guts_ = other.guts_;
  if (guts_ != nullptr) guts_->addReference();
  return *this;
}

AutoBuffer& AutoBuffer::operator=(const BufferWrapper& bytes) {
  return *this = AutoBuffer(bytes);
}

AutoBuffer::~AutoBuffer() {
  Free();
}

unsigned char* AutoBuffer::Data() noexcept {
  return guts_ == nullptr ? nullptr : guts_->begin();
}

const unsigned char* AutoBuffer::Data() const noexcept {
  return guts_ == nullptr ? nullptr : guts_->begin();
}

std::uint32_t AutoBuffer::Capacity() const noexcept {
  return guts_ == nullptr ? 0 : guts_->capacity();
}

void AutoBuffer::Free() {
  if (guts_ != nullptr) std::exchange(guts_, nullptr)->release();
}

void AutoBuffer::Reserve(SafeInteger<unsigned long> capacity) {
  if (capacity.value() > Capacity()) MakePrivate(capacity.value());
}

/// Append, whatever the storage.
void AutoBuffer::AppendAnew(const void* data, SafeInteger<unsigned long> length) {
  if (length.value() == 0) return;
  const std::uint32_t newLength = SafeInteger<unsigned long>::Add(Len(), length).value();
  if (Owns(data)) return Append(AutoBuffer(BufferWrapper(data, length)).Data(), length);
  CopyBytes(Extend(newLength), data, length.value());
}

void AutoBuffer::appendReverseByteOrder(const void* data, SafeInteger<unsigned long> length) {
  if (length.value() == 0) return;
  const std::uint32_t newLength = SafeInteger<unsigned long>::Add(Len(), length).value();
  if (Owns(data)) {
    return appendReverseByteOrder(AutoBuffer(BufferWrapper(data, length)).Data(), length);
  }
  big_endian::CopyToBigEndian(length.value(), Extend(newLength),
                              static_cast<const unsigned char*>(data));
}

void AutoBuffer::Modify(SafeInteger<unsigned long> offset, const void* data,
                        SafeInteger<unsigned long> length) {
  const std::uint32_t needed = SafeInteger<unsigned long>::Add(offset, length).value();
  if (Owns(data)) return Modify(offset, AutoBuffer(BufferWrapper(data, length)).Data(), length);
  MakePrivate(CapacityFor(needed));
  CopyBytes(guts_->begin() + offset.value(), data, length.value());
}

void AutoBuffer::Skip(SafeInteger<unsigned long> count) {
  const std::uint32_t newLength = SafeInteger<unsigned long>::Add(Len(), count).value();
  MakePrivate(newLength);
  guts_->setLength(newLength);
}

std::uint32_t AutoBuffer::UnAppend(SafeInteger<unsigned long> count) {
  if (guts_ != nullptr) {
    MakePrivate(0);
    guts_->setLength(Len() - std::min(Len(), count.value()));
  }
  return count.value();
}

void AutoBuffer::Erase() {
  if (Len() == 0) return;
  if (guts_->isShared()) {
    Free();
  } else {
    guts_->setLength(0);
  }
}

std::uint32_t AutoBuffer::serializationSize() const {
  return SafeInteger<unsigned long>::Add(Len(), kLengthBytes).value();
}

void AutoBuffer::serialize(unsigned char*& cursor, const unsigned char* end) const {
  if (!little_endian::HasRoom(cursor, end, kLengthBytes)) QV_THROW(exception::BufferOverflow());
  if (Len() != 0 && Owns(cursor)) return AutoBuffer(BufferWrapper(*this)).serialize(cursor, end);
  unsigned char* position = cursor;
  little_endian::SerializeRaw<std::uint32_t>(Len(), position, end);
  if (!little_endian::HasRoom(position, end, Len())) QV_THROW(exception::BufferOverflow());
  CopyBytes(position, Data(), Len());
  cursor = position + Len();
}

void AutoBuffer::deserialize(const unsigned char*& cursor, const unsigned char* end) {
  if (!little_endian::HasRoom(cursor, end, kLengthBytes)) {
    QV_THROW(exception::DeserializationError());
  }
  const unsigned char* position = cursor;
  std::uint32_t length = 0;
  little_endian::DeserializeRaw<std::uint32_t>(length, position, end);
  if (!little_endian::HasRoom(position, end, length)) QV_THROW(exception::DeserializationError());
  ReplaceBy(BufferWrapper(position, length), BufferWrapper());
  cursor = position + length;
}

void AutoBuffer::circularSerialize(unsigned char* begin, unsigned char* end,
                                   unsigned char*& cursor) const {
  if (!RingHolds(begin, end, cursor, Len())) QV_THROW(exception::BufferOverflow());
  if (Len() != 0 && Owns(begin)) {
    return AutoBuffer(BufferWrapper(*this)).circularSerialize(begin, end, cursor);
  }
  unsigned char lengthField[kLengthBytes];
  unsigned char* field = lengthField;
  little_endian::SerializeRaw<std::uint32_t>(Len(), field, lengthField + kLengthBytes);
  const auto copyFrom = [](const unsigned char* source) {
    return [source](unsigned char* place, std::uint32_t size, std::uint32_t offset) {
      CopyBytes(place, source + offset, size);
    };
  };
  ForEachPiece(begin, end, cursor, kLengthBytes, copyFrom(lengthField));
  ForEachPiece(begin, end, cursor, Len(), copyFrom(Data()));
}

void AutoBuffer::circularDeserialize(const unsigned char* begin, const unsigned char* end,
                                     const unsigned char*& cursor) {
  const unsigned char* position = cursor;
  const std::uint32_t length = GetCircularDeserializationSize(begin, end, position);
  if (!RingHolds(begin, end, position, length)) QV_THROW(exception::DeserializationError());
  BufferWrapper pieces[2];
  ForEachPiece(begin, end, position, length,
               [&](const unsigned char* place, std::uint32_t size, std::uint32_t offset) {
                 pieces[offset == 0 ? 0 : 1] = BufferWrapper(place, size);
               });
  ReplaceBy(pieces[0], pieces[1]);
  cursor = position;
}

std::uint32_t AutoBuffer::GetCircularDeserializationSize(const unsigned char* begin,
                                                         const unsigned char* end,
                                                         const unsigned char*& cursor) {
  if (!RingHolds(begin, end, cursor, 0)) QV_THROW(exception::DeserializationError());
  unsigned char lengthField[kLengthBytes];
  ForEachPiece(begin, end, cursor, kLengthBytes,
               [&](const unsigned char* place, std::uint32_t size, std::uint32_t offset) {
                 CopyBytes(lengthField + offset, place, size);
               });
  const unsigned char* field = lengthField;
  std::uint32_t length = 0;
  little_endian::DeserializeRaw<std::uint32_t>(length, field, lengthField + kLengthBytes);
  return length;
}

bool AutoBuffer::Owns(const void* data) const noexcept {
  const auto* const byte = static_cast<const unsigned char*>(data);
  const std::less<const unsigned char*> less;
  return guts_ != nullptr && !less(byte, Data()) && less(byte, Data() + Capacity());
}

/// The capacity there is if it takes length bytes, else one with slack.
std::uint32_t AutoBuffer::CapacityFor(std::uint32_t length) const noexcept {
  return length <= Capacity() ? Capacity() : WithSlack(length);
}

/// Makes the storage this buffer's own, with a capacity of at least capacity, and of exactly
/// capacity if it must grow.
void AutoBuffer::MakePrivate(std::uint32_t capacity) {
  if (guts_ == nullptr) {
    guts_ = new AutoBufferGuts(capacity);
  } else if (guts_->isShared()) {
    auto* const copy = new AutoBufferGuts(std::max(capacity, Capacity()));
    CopyBytes(copy->begin(), Data(), Len());
    copy->setLength(Len());
    std::exchange(guts_, copy)->release();
  } else if (capacity > Capacity()) {
    guts_->grow(capacity);
  }
}

/// Makes the length newLength and returns where the added bytes begin.
unsigned char* AutoBuffer::Extend(std::uint32_t newLength) {
  const std::uint32_t oldLength = Len();
  MakePrivate(CapacityFor(newLength));
  guts_->setLength(newLength);
  return guts_->begin() + oldLength;
}

void AutoBuffer::ReplaceBy(const BufferWrapper& head, const BufferWrapper& tail) {
  // Storage that is left behind must stay when the new bytes lie in it, and for the case that there
  // is no memory for them. Storage of our own takes them all once it has the room.
  const bool isLeft = guts_ != nullptr && (guts_->isShared() || Owns(head.Data()));
  const AutoBuffer before = isLeft ? *this : AutoBuffer();
  try {
    Reserve(std::uint64_t{head.Len()} + tail.Len());
    Erase();
    Append(head.Data(), head.Len());
    Append(tail.Data(), tail.Len());
  } catch (...) {
    if (isLeft) *this = before;
    throw;
  }
}

bool operator==(const AutoBuffer& a, const AutoBuffer& b) noexcept {
  return CompareBuffers(a, b) == 0;
}

bool operator<(const AutoBuffer& a, const AutoBuffer& b) noexcept {
  return CompareBuffers(a, b) == -1;
}

}  // namespace qv::kit
