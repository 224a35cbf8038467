#include "kit/StringBase.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <functional>
#include <new>
#include <utility>

#include "kit/AddFileAndLineInfo.h"
#include "kit/CharactersToBytes.h"
#include "kit/DLLAlloc.h"
#include "kit/RangeLength.h"
#include "kit/SafeInteger.h"
#include "kit/StringForms.h"
#include "kit/exception/BoundExceeded2.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/OutOfRange2.h"
#include "kit/little_endian.h"

namespace qv::kit {

namespace {

using Size = SafeInteger<unsigned long>;

constexpr std::uint32_t npos = 0xFFFFFFFFU;
constexpr std::uint32_t kCountBytes = 4;

/// Largest capacity whose storage can be counted in 32 bits of bytes.
template <typename CharT>
constexpr std::uint32_t kLargestCapacity = npos / sizeof(CharT) - 1;

std::size_t TextLength(const char* text) {
  return std::strlen(text);
}
std::size_t TextLength(const wchar_t* text) {
  return std::wcslen(text);
}
std::size_t TextLength(const unsigned char* text) {
  return std::strlen(reinterpret_cast<const char*>(text));
}

template <typename CharT>
const CharT* EndOfText(const CharT* text) {
  return text == nullptr ? nullptr : text + TextLength(text);
}

/// The end of count characters at text; npos counts them up to their terminator. There are none at
/// null.
template <typename CharT>
const CharT* EndOfText(const CharT* text, std::uint32_t count) {
  return count == npos || text == nullptr ? EndOfText(text) : text + count;
}

/// How many characters such a count means. It is not turned into an end: that of a count beyond
/// what addresses can tell would lie anywhere.
template <typename CharT>
std::uint32_t CountAt(const CharT* text, std::uint32_t count) {
  return count == npos || text == nullptr ? RangeLength(text, EndOfText(text)) : count;
}

/// Whether place lies from begin to end. Only std::less orders pointers into different blocks.
template <typename CharT>
bool IsWithin(const CharT* begin, const CharT* place, const CharT* end) noexcept {
  const std::less<const CharT*> before;
  return !before(place, begin) && !before(end, place);
}

template <typename CharT>
void MoveCharacters(CharT* to, const CharT* from, std::size_t count) noexcept {
  if (count != 0) std::memmove(to, from, count * sizeof(CharT));
}

/// How many of count characters at position there are in a text of length characters.
std::uint32_t Clip(std::uint32_t length, std::uint32_t position, std::uint32_t count) {
  if (position > length) QV_THROW(exception::OutOfRange2("String offset out of range"));
  return std::min(count, length - position);
}

/// The same for operations that refuse a position + count that wraps.
std::uint32_t ClipUnwrapped(std::uint32_t length, std::uint32_t position, std::uint32_t count) {
  if (count != npos) Size::Add(position, count);
  return Clip(length, position, count);
}

/// What Form::ReadLength says. Its refusals are failures to deserialize a string, so it is this
/// place that they tell.
template <typename Form>
std::uint32_t ReadLength(const unsigned char* begin, const unsigned char* end) {
  try {
    return Form::ReadLength(begin, end);
  } catch (exception::Exception& refusal) {
    refusal.setFileAndLine(__FILE__, __LINE__);
    throw;
  }
}

/// First place from position on where width characters satisfy matches, which is given the place.
template <typename Matches>
std::uint32_t FindForward(std::uint32_t length, std::size_t width, std::uint32_t position,
                          Matches matches) {
  if (width > length) return npos;
  for (std::uint32_t place = position; place <= length - width; ++place) {
    if (matches(place)) return place;
  }
  return npos;
}

/// Last such place that is not past position.
template <typename Matches>
std::uint32_t FindBackward(std::uint32_t length, std::size_t width, std::uint32_t position,
                           Matches matches) {
  if (width > length) return npos;
  const std::uint32_t last = length - static_cast<std::uint32_t>(width);
  for (std::uint32_t place = std::min(position, last) + 1; place-- != 0;) {
    if (matches(place)) return place;
  }
  return npos;
}

/// Tests for places of text where other stands.
template <typename CharT, typename Text>
auto Holds(const CharT* text, Text other) {
  return [text, other](std::uint32_t place) {
    return std::equal(other.begin, other.end, text + place);
  };
}

template <typename CharT>
auto Is(const CharT* text, CharT character) {
  return [text, character](std::uint32_t place) { return text[place] == character; };
}

template <typename CharT, typename Text>
auto IsOneOf(const CharT* text, Text set) {
  return [text, set](std::uint32_t place) {
    return std::find(set.begin, set.end, text[place]) != set.end;
  };
}

template <typename Matches>
auto Not(Matches matches) {
  return [matches](std::uint32_t place) { return !matches(place); };
}

}  // namespace

template <typename C, typename O, typename T>
StringBase<C, O, T>::Text::Text(const C* text) : begin(text), end(EndOfText(text)) {}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(Room room)
    : begin_(static_cast<C*>(DLLMalloc(CharactersToBytes<C>(Size::Add(room.capacity, 1))))),
      end_(begin_),
      capacityEnd_(begin_ + room.capacity) {
  *end_ = C();
}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase() : StringBase(Room{0}) {}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const C* text) : StringBase(text, EndOfText(text)) {}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const C* text, std::uint32_t count)
    : StringBase(Room{CountAt(text, count)}) {
  MoveCharacters(begin_, text, capacity());
  SetEnd(capacityEnd_);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const C* begin, const C* end)
    : StringBase(Room{RangeLength(begin, end)}) {
  MoveCharacters(begin_, begin, capacity());
  SetEnd(capacityEnd_);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(std::uint32_t count, C character) : StringBase(Room{count}) {
  std::fill(begin_, capacityEnd_, character);
  SetEnd(capacityEnd_);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const StringBase& other) : StringBase(other.begin_, other.end_) {}

// An empty string owns storage too, which moving must get from somewhere.
// NOLINTBEGIN(performance-noexcept-move-constructor)
template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(StringBase&& other) : StringBase() {
  swap(other);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::operator=(StringBase&& other) {
  StringBase taken(std::move(other));
  swap(taken);
  return *this;
}
// NOLINTEND(performance-noexcept-move-constructor)

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const StringBase& other, std::uint32_t position,
                                std::uint32_t count)
    : StringBase(Room{Clip(other.length(), position, count)}) {
  MoveCharacters(begin_, other.begin_ + position, capacity());
  SetEnd(capacityEnd_);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const StringBase& a, const StringBase& b)
    : StringBase(Room{Size::Add(a.length(), b.length()).value()}) {
  MoveCharacters(begin_, a.begin_, a.length());
  MoveCharacters(begin_ + a.length(), b.begin_, b.length());
  SetEnd(capacityEnd_);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const O* text) : StringBase(text, EndOfText(text)) {}

template <typename C, typename O, typename T>
StringBase<C, O, T>::StringBase(const O* begin, const O* end)
    : StringBase(Room{StringForm<C, O, T>::ConvertedBound(begin, end)}) {
  if (begin == end) return;
  SetEnd(begin_ + StringForm<C, O, T>::Convert(begin, end, begin_, capacityEnd_));
}

template <typename C, typename O, typename T>
StringBase<C, O, T>::~StringBase() {
  DLLFree(begin_);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::operator=(const StringBase& other) {
  if (this == &other) return *this;
  return Splice(0, length(), other.begin_, other.length());
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::operator=(const C* text) {
  return assign(text, npos);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::operator=(const O* text) {
  return *this = StringBase(text);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::assign(const C* text, std::uint32_t count) {
  return Splice(0, length(), text, CountAt(text, count));
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::swap(StringBase& other) noexcept {
  std::swap(begin_, other.begin_);
  std::swap(end_, other.end_);
  std::swap(capacityEnd_, other.capacityEnd_);
}

template <typename C, typename O, typename T>
bool StringBase<C, O, T>::hasEmbeddedNull() const noexcept {
  return find(C()) != npos;
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::copy(C* destination, std::uint32_t count,
                                        std::uint32_t position) const {
  const std::uint32_t copied = Clip(length(), position, count);
  MoveCharacters(destination, begin_ + position, copied);
  return copied;
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::reserve(std::uint32_t count) {
  if (capacity() < count) ReallocBuffer(count);
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::resize(std::uint32_t count, C fill) {
  if (count > length()) {
    append(count - length(), fill);
  } else {
    erase(count, npos);
  }
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::resize(std::uint32_t count, C fill, BufferStrategy strategy) {
  if (count > length()) {
    append(count - length(), fill);
  } else {
    erase(count, npos, strategy);
  }
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::clear() {
  erase(0, npos);
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::clear(BufferStrategy strategy) {
  erase(0, npos, strategy);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::erase(std::uint32_t position, std::uint32_t count) {
  Remove(position, count);
  ReallocBuffer(length());
  return *this;
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::erase(std::uint32_t position, std::uint32_t count,
                                                BufferStrategy strategy) {
  Remove(position, count);
  if (strategy == BufferStrategy::Release) ShrinkStorage();
  return *this;
}

template <typename C, typename O, typename T>
C* StringBase<C, O, T>::erase(const C* first, const C* last) {
  const std::uint32_t position = PositionOf(first);
  erase(position, CountOf(first, last));
  return begin_ + position;
}

template <typename C, typename O, typename T>
C* StringBase<C, O, T>::erase(const C* first, const C* last, BufferStrategy strategy) {
  const std::uint32_t position = PositionOf(first);
  erase(position, CountOf(first, last), strategy);
  return begin_ + position;
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::freeString() noexcept {
  SetEnd(begin_);
  ShrinkStorage();
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::append(Text text) {
  return append(text.begin, RangeLength(text.begin, text.end));
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::append(const O* text) {
  return append(StringBase(text));
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::append(const C* text, std::uint32_t count) {
  const std::uint32_t added = CountAt(text, count);
  // Only where the storage moves may the text move with it.
  if (added > capacity() - length()) {
    const bool own = Owns(text);
    const std::ptrdiff_t offset = own ? text - begin_ : 0;
    MakeRoomAtEnd(added);
    if (own) text = begin_ + offset;
  }
  MoveCharacters(end_, text, added);
  SetEnd(end_ + added);
  return *this;
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::append(std::uint32_t count, C character) {
  MakeRoomAtEnd(count);
  SetEnd(std::fill_n(end_, count, character));
  return *this;
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::append(const StringBase& other, std::uint32_t position,
                                                 std::uint32_t count) {
  const std::uint32_t added = ClipUnwrapped(other.length(), position, count);
  return append(other.begin_ + position, added);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::replace(std::uint32_t position, std::uint32_t count,
                                                  Text other) {
  return replace(position, count, other, 0, npos);
}

template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::replace(std::uint32_t position, std::uint32_t count,
                                                  Text other, std::uint32_t position2,
                                                  std::uint32_t count2) {
  const std::uint32_t removed = Clip(length(), position, count);
  const std::uint32_t added = Clip(RangeLength(other.begin, other.end), position2, count2);
  if (added >= npos - (length() - removed)) {
    QV_THROW(exception::BoundExceeded2("Resulting string too large"));
  }
  return Splice(position, removed, other.begin + position2, added);
}

template <typename C, typename O, typename T>
StringBase<C, O, T> StringBase<C, O, T>::substr(std::uint32_t position, std::uint32_t count) const {
  return StringBase(*this, position, ClipUnwrapped(length(), position, count));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find(Text text, std::uint32_t position) const noexcept {
  return FindForward(length(), text.length(), position, Holds(begin_, text));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find(C character, std::uint32_t position) const noexcept {
  return FindForward(length(), 1, position, Is(begin_, character));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::rfind(Text text, std::uint32_t position) const noexcept {
  return FindBackward(length(), text.length(), position, Holds(begin_, text));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::rfind(C character, std::uint32_t position) const noexcept {
  return FindBackward(length(), 1, position, Is(begin_, character));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_first_of(Text set, std::uint32_t position) const noexcept {
  return FindForward(length(), 1, position, IsOneOf(begin_, set));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_first_of(C character,
                                                 std::uint32_t position) const noexcept {
  return find(character, position);
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_first_not_of(Text set,
                                                     std::uint32_t position) const noexcept {
  return FindForward(length(), 1, position, Not(IsOneOf(begin_, set)));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_first_not_of(C character,
                                                     std::uint32_t position) const noexcept {
  return FindForward(length(), 1, position, Not(Is(begin_, character)));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_last_of(Text set, std::uint32_t position) const noexcept {
  return FindBackward(length(), 1, position, IsOneOf(begin_, set));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_last_of(C character,
                                                std::uint32_t position) const noexcept {
  return rfind(character, position);
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_last_not_of(Text set,
                                                    std::uint32_t position) const noexcept {
  return FindBackward(length(), 1, position, Not(IsOneOf(begin_, set)));
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::find_last_not_of(C character,
                                                    std::uint32_t position) const noexcept {
  return FindBackward(length(), 1, position, Not(Is(begin_, character)));
}

template <typename C, typename O, typename T>
std::int32_t StringBase<C, O, T>::compare(Text other) const {
  return Order(*this, other);
}

template <typename C, typename O, typename T>
std::int32_t StringBase<C, O, T>::compare(std::uint32_t position, std::uint32_t count,
                                          const C* other, std::uint32_t count2) const {
  const std::uint32_t compared = ClipUnwrapped(length(), position, count);
  const C* begin = begin_ + position;
  return StringForm<C, O, T>::Compare(begin, begin + compared, other, EndOfText(other, count2));
}

template <typename C, typename O, typename T>
std::int32_t StringBase<C, O, T>::exactCompare(Text other) const {
  return StringForm<C, O, T>::ExactCompare(begin_, end_, other.begin, other.end);
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::serializationSize() const {
  return Size::Add(StringForm<C, O, T>::SerializedBytes(begin_, end_), kCountBytes).value();
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::serialize(unsigned char*& cursor, const unsigned char* end) const {
  const std::uint32_t bytes = serializationSize();
  if (!little_endian::HasRoom(cursor, end, bytes)) QV_THROW(exception::BufferOverflow());
  unsigned char* const written = cursor + bytes;
  little_endian::SerializeRaw(bytes - kCountBytes, cursor, end);
  StringForm<C, O, T>::Write(begin_, end_, cursor, written);
  cursor = written;
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::deserialize(const unsigned char*& cursor, const unsigned char* end) {
  if (!little_endian::HasRoom(cursor, end, kCountBytes)) {
    QV_THROW(exception::DeserializationError());
  }
  const unsigned char* bytes = cursor;
  std::uint32_t count = 0;
  little_endian::DeserializeRaw(count, bytes, end);
  if (!little_endian::HasRoom(bytes, end, count)) QV_THROW(exception::DeserializationError());
  const unsigned char* const bytesEnd = bytes + count;
  Read(bytes, bytesEnd);
  cursor = bytesEnd;
}

template <typename C, typename O, typename T>
bool StringBase<C, O, T>::AreEqual(Text a, Text b) {
  return StringForm<C, O, T>::Equal(a.begin, a.end, b.begin, b.end);
}

template <typename C, typename O, typename T>
std::int32_t StringBase<C, O, T>::Order(Text a, Text b) {
  return StringForm<C, O, T>::Compare(a.begin, a.end, b.begin, b.end);
}

template <typename C, typename O, typename T>
bool StringBase<C, O, T>::Owns(const C* text) const noexcept {
  return IsWithin<C>(begin_, text, capacityEnd_);
}

template <typename C, typename O, typename T>
bool StringBase<C, O, T>::OwnsBytes(const unsigned char* bytes) const noexcept {
  return IsWithin(reinterpret_cast<const unsigned char*>(begin_), bytes,
                  reinterpret_cast<const unsigned char*>(capacityEnd_ + 1));
}

/// Moves the storage to one of capacity + 1 slots, which must be countable. What fits in it stays;
/// nothing changes when there is no memory.
template <typename C, typename O, typename T>
bool StringBase<C, O, T>::TryResizeStorage(std::uint32_t capacity) noexcept {
  const std::uint32_t kept = std::min(length(), capacity);
  void* storage = DLLReallocNoThrow(begin_, (capacity + 1U) * sizeof(C));
  if (storage == nullptr) return false;
  begin_ = static_cast<C*>(storage);
  capacityEnd_ = begin_ + capacity;
  SetEnd(begin_ + kept);
  return true;
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::ResizeStorage(std::uint32_t capacity) {
  CharactersToBytes<C>(Size::Add(capacity, 1));
  if (!TryResizeStorage(capacity)) throw std::bad_alloc();
}

/// Brings the capacity down to the length, if there is memory to move to.
template <typename C, typename O, typename T>
void StringBase<C, O, T>::ShrinkStorage() noexcept {
  if (capacity() != length()) TryResizeStorage(length());
}

/// Brings the storage to exactly capacity characters, unless it has at least that many and at most
/// twice as many. Shrinking may fail, for the larger storage does as well.
template <typename C, typename O, typename T>
void StringBase<C, O, T>::ReallocBuffer(std::uint32_t capacity) {
  if (this->capacity() < capacity) {
    ResizeStorage(capacity);
  } else if (this->capacity() > std::uint64_t{capacity} * 2) {
    TryResizeStorage(capacity);
  }
}

/// Makes storage for length characters, and as many again for those that are appended next.
template <typename C, typename O, typename T>
void StringBase<C, O, T>::Grow(std::uint32_t length) {
  const std::uint32_t roomy = Size(length).doubled().value();
  if (roomy <= kLargestCapacity<C> && TryResizeStorage(roomy)) return;
  ResizeStorage(length);
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::MakeRoomAtEnd(std::uint32_t count) {
  const std::uint32_t required = Size::Add(length(), count).value();
  if (required > capacity()) Grow(required);
}

template <typename C, typename O, typename T>
void StringBase<C, O, T>::Remove(std::uint32_t position, std::uint32_t count) {
  const std::uint32_t removed = Clip(length(), position, count);
  C* const place = begin_ + position;
  const std::uint32_t left = length() - removed;
  MoveCharacters(place, place + removed, left - position);
  SetEnd(begin_ + left);
}

template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::PositionOf(const C* first) const {
  if (!IsWithin<C>(begin_, first, end_)) {
    QV_THROW(exception::OutOfRange2("String offset out of range"));
  }
  return RangeLength<C>(begin_, first);
}

/// Characters from first, which is within the string, to last.
template <typename C, typename O, typename T>
std::uint32_t StringBase<C, O, T>::CountOf(const C* first, const C* last) const {
  if (!IsWithin<C>(first, last, end_)) QV_THROW(exception::OutOfRange());
  return RangeLength(first, last);
}

/// Takes the characters that the bytes stand for as the contents.
template <typename C, typename O, typename T>
void StringBase<C, O, T>::Read(const unsigned char* begin, const unsigned char* end) {
  if (begin != end && OwnsBytes(begin)) {
    const Utf8String copied(begin, end);
    return Read(copied.begin(), copied.end());
  }
  const std::uint32_t length = begin == end ? 0 : ReadLength<StringForm<C, O, T>>(begin, end);
  ReallocBuffer(length);
  StringForm<C, O, T>::Read(begin, end, begin_, begin_ + length);
  SetEnd(begin_ + length);
}

/// Puts text in place of count characters, which must be there.
template <typename C, typename O, typename T>
StringBase<C, O, T>& StringBase<C, O, T>::Splice(std::uint32_t position, std::uint32_t count,
                                                 const C* text, std::uint32_t textCount) {
  if (textCount != 0 && Owns(text)) {
    const StringBase copied(text, textCount);
    return Splice(position, count, copied.begin_, textCount);
  }
  const std::uint32_t left = length() - count;
  const std::uint32_t result = Size::Add(left, textCount).value();
  if (result > capacity()) ReallocBuffer(result);
  C* const place = begin_ + position;
  MoveCharacters(place + textCount, place + count, left - position);
  MoveCharacters(place, text, textCount);
  SetEnd(begin_ + result);
  // Only now may storage that is too large shrink: it held what has been moved.
  ReallocBuffer(result);
  return *this;
}

template class StringBase<wchar_t, char, wchar_t>;
template class StringBase<char, wchar_t, wchar_t>;
template class StringBase<char, wchar_t, char>;
template class StringBase<unsigned char, wchar_t, wchar_t>;

}  // namespace qv::kit
