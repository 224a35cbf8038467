#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kit/BufferStrategy.h"

namespace qv::kit {

/// A run of characters of one type that can also be built from text of the other width.
///
/// There are four forms, all instantiated in StringBase.cpp; what they do differently stands in
/// StringForms.h:
///
///     WString        wide text, one code point a character; serialized as UTF-8
///     String         text in the encoding of the process locale
///     CountedString  the same, serialized with a terminating zero
///     Utf8String     UTF-8 bytes
///
/// Order and equality (compare() and the operators) disregard case; only exactCompare()
/// distinguishes it. Positions and counts are in characters, and npos as a count means up to the
/// end. Embedded zero characters are ordinary characters: the length bounds every operation.
///
/// A failed operation leaves the string as it was (deserialize() may have resized its storage).
/// Text arguments may point into the string itself and behave as if they had been copied first.
/// Every operation that needs more room may throw exception::OutOfRange, when the size cannot be
/// counted in 32 bits, and std::bad_alloc. A null pointer is the empty text, whatever count is
/// given with it.
///
/// A string belongs to one thread at a time. Its storage comes from DLLMalloc, so that another
/// module may let go of it; its three pointers are its whole layout.
template <typename CharT,
          typename OtherT = std::conditional_t<std::is_same_v<CharT, wchar_t>, char, wchar_t>,
          typename TerminatorT = wchar_t>
class StringBase {
 public:
  /// As a count: up to the end. As a result: not found.
  static constexpr std::uint32_t npos = 0xFFFFFFFFU;

  /// Text of the own character type, taken from a string or from a zero-terminated pointer. Only
  /// refers to it: meant as a parameter, not to be kept.
  struct Text {
    /// All of string.
    Text(const StringBase& string) : begin(string.begin_), end(string.end_) {}
    /// Up to the first zero character; nothing for null.
    Text(const CharT* text);
    /// Characters, of which there may be more than 32 bits count.
    std::size_t length() const noexcept { return static_cast<std::size_t>(end - begin); }

    /// The first character.
    const CharT* begin;
    /// One past the last.
    const CharT* end;
  };

  /// Empty, with storage for the terminator.
  StringBase();
  /// @{
  /// A copy of text: up to its terminator, count characters, or those before end.
  StringBase(const CharT* text);
  StringBase(const CharT* text, std::uint32_t count);
  StringBase(const CharT* begin, const CharT* end);
  StringBase(const StringBase& other);
  /// @}
  /// character, count times.
  StringBase(std::uint32_t count, CharT character);
  /// Leaves other empty. May throw std::bad_alloc, for an empty string owns storage too.
  StringBase(StringBase&& other);  // NOLINT(performance-noexcept-move-constructor)
  /// Throws OutOfRange2 when position lies past the end of other.
  StringBase(const StringBase& other, std::uint32_t position, std::uint32_t count = npos);
  /// a followed by b.
  StringBase(const StringBase& a, const StringBase& b);

  /// @{
  /// Converts text of the other width, as kit/osdep/AnsiToWide.h, kit/osdep/WideToAnsi.h and
  /// WideToUtf8.h say. The capacity is the bound that the conversion states, the length what it
  /// produced. Throws InvalidLocale when the encoding of the process locale is not known; empty
  /// text does not ask for it.
  StringBase(const OtherT* text);
  StringBase(const OtherT* begin, const OtherT* end);
  template <typename O, typename T>
  explicit StringBase(const StringBase<OtherT, O, T>& other)
      : StringBase(other.begin(), other.end()) {}
  /// @}

  /// text followed by a string of any form that can be had in this one.
  template <typename C, typename O, typename T>
  StringBase(const CharT* text, const StringBase<C, O, T>& other) : StringBase(text) {
    append(StringBase(other.begin(), other.end()));
  }

  ~StringBase();

  /// @{
  /// As the constructors: a copy, what other had, or text that is converted.
  StringBase& operator=(const StringBase& other);
  StringBase& operator=(StringBase&& other);  // NOLINT(performance-noexcept-move-constructor)
  StringBase& operator=(const CharT* text);
  StringBase& operator=(const OtherT* text);
  template <typename O, typename T>
  StringBase& operator=(const StringBase<OtherT, O, T>& other) {
    return *this = StringBase(other);
  }
  StringBase& assign(const CharT* text, std::uint32_t count);
  /// @}
  /// Copies nothing: storage changes hands.
  void swap(StringBase& other) noexcept;

  /// @{
  /// The characters, with a terminator behind the last: where they begin and where they end. Valid
  /// until the string changes.
  const CharT* c_str() const noexcept { return begin_; }
  const CharT* begin() const noexcept { return begin_; }
  const CharT* end() const noexcept { return end_; }
  CharT* begin() noexcept { return begin_; }
  CharT* end() noexcept { return end_; }
  /// @}
  /// @{
  /// Unchecked; the position of the terminator may be read.
  const CharT& operator[](std::uint32_t position) const noexcept { return begin_[position]; }
  CharT& operator[](std::uint32_t position) noexcept { return begin_[position]; }
  /// @}
  /// @{
  /// Characters, without the terminator.
  std::uint32_t length() const noexcept { return static_cast<std::uint32_t>(end_ - begin_); }
  std::uint32_t size() const noexcept { return length(); }
  /// @}
  /// Characters that the storage has room for, without the terminator.
  std::uint32_t capacity() const noexcept {
    return static_cast<std::uint32_t>(capacityEnd_ - begin_);
  }
  /// Whether there is no character.
  bool empty() const noexcept { return begin_ == end_; }
  /// Whether a zero character stands before the end.
  bool hasEmbeddedNull() const noexcept;
  /// Copies up to count characters, without a terminator, to destination, which must have room for
  /// them, and returns how many they were. Throws OutOfRange2 when position lies past the end.
  std::uint32_t copy(CharT* destination, std::uint32_t count, std::uint32_t position = 0) const;

  /// Makes room for count characters; never shrinks.
  void reserve(std::uint32_t count);
  /// @{
  /// Cuts the string to count characters, as erase() does, or fills it up to them.
  void resize(std::uint32_t count, CharT fill = CharT());
  void resize(std::uint32_t count, CharT fill, BufferStrategy strategy);
  /// @}
  /// @{
  /// As erase() of the whole string.
  void clear();
  void clear(BufferStrategy strategy);
  /// @}
  /// @{
  /// Throws OutOfRange2 when position lies past the end. Without a strategy, storage of more than
  /// twice the length that is left shrinks to it.
  StringBase& erase(std::uint32_t position = 0, std::uint32_t count = npos);
  StringBase& erase(std::uint32_t position, std::uint32_t count, BufferStrategy strategy);
  /// @}
  /// @{
  /// Erases from first to before last and returns the place where that was. Throws OutOfRange2 when
  /// first does not lie within this string or at its end, OutOfRange when last does not lie between
  /// first and that end.
  CharT* erase(const CharT* first, const CharT* last);
  CharT* erase(const CharT* first, const CharT* last, BufferStrategy strategy);
  /// @}
  /// Gives contents and storage back; an empty string with the slot of its terminator remains.
  void freeString() noexcept;

  /// @{
  /// Storage that is too small grows to twice the length needed, or, when that cannot be had, to
  /// just that length. Throws OutOfRange when storage must grow for 2^31 characters or more. Text
  /// of the other width is converted first, as the constructor does it.
  StringBase& append(Text text);
  StringBase& append(const OtherT* text);
  StringBase& append(const CharT* text, std::uint32_t count);
  StringBase& append(std::uint32_t count, CharT character);
  /// @}
  /// Throws OutOfRange2 when position lies past the end of other, OutOfRange when position + count
  /// wraps.
  StringBase& append(const StringBase& other, std::uint32_t position, std::uint32_t count);
  /// @{
  /// As append().
  StringBase& operator+=(Text text) { return append(text); }
  StringBase& operator+=(const OtherT* text) { return append(text); }
  /// @}
  /// Inlined as long as there is room: text is often put together by single characters.
  StringBase& operator+=(CharT character) {
    if (end_ == capacityEnd_) return append(1, character);
    *end_ = character;
    SetEnd(end_ + 1);
    return *this;
  }
  /// @{
  /// left with right appended.
  friend StringBase operator+(StringBase left, Text right) {
    left += right;
    return left;
  }
  friend StringBase operator+(StringBase left, const OtherT* right) {
    left += right;
    return left;
  }
  friend StringBase operator+(StringBase left, CharT right) {
    left += right;
    return left;
  }
  /// @}

  /// @{
  /// Puts other, or a part of it, in place of up to count characters. Throws OutOfRange2 when a
  /// position lies past the end of its string, BoundExceeded2 when the result would have 0xFFFFFFFF
  /// characters or more. Storage is sized for the result: it shrinks when it is more than twice
  /// that.
  StringBase& replace(std::uint32_t position, std::uint32_t count, Text other);
  StringBase& replace(std::uint32_t position, std::uint32_t count, Text other,
                      std::uint32_t position2, std::uint32_t count2);
  /// @}
  /// Up to count characters from position on. Throws OutOfRange2 when position lies past the end,
  /// OutOfRange when position + count wraps.
  StringBase substr(std::uint32_t position, std::uint32_t count = npos) const;

  /// @{
  /// Searches as std::basic_string does, by exact characters. Gives a position or npos.
  std::uint32_t find(Text text, std::uint32_t position = 0) const noexcept;
  std::uint32_t find(CharT character, std::uint32_t position = 0) const noexcept;
  std::uint32_t rfind(Text text, std::uint32_t position = npos) const noexcept;
  std::uint32_t rfind(CharT character, std::uint32_t position = npos) const noexcept;
  std::uint32_t find_first_of(Text set, std::uint32_t position = 0) const noexcept;
  std::uint32_t find_first_of(CharT character, std::uint32_t position = 0) const noexcept;
  std::uint32_t find_first_not_of(Text set, std::uint32_t position = 0) const noexcept;
  std::uint32_t find_first_not_of(CharT character, std::uint32_t position = 0) const noexcept;
  std::uint32_t find_last_of(Text set, std::uint32_t position = npos) const noexcept;
  std::uint32_t find_last_of(CharT character, std::uint32_t position = npos) const noexcept;
  std::uint32_t find_last_not_of(Text set, std::uint32_t position = npos) const noexcept;
  std::uint32_t find_last_not_of(CharT character, std::uint32_t position = npos) const noexcept;
  /// @}

  /// Negative, 0 or positive as this string comes before, equals or comes after other, without
  /// regard to case. The UTF-8 form throws InvalidSequence where the comparison meets bytes that
  /// are not UTF-8.
  std::int32_t compare(Text other) const;
  /// The same for a part of this string and count2 characters at other, all of which must be there;
  /// npos as count2 takes them up to their terminator. Throws OutOfRange2 when position lies past
  /// the end, OutOfRange when position + count wraps.
  std::int32_t compare(std::uint32_t position, std::uint32_t count, const CharT* other,
                       std::uint32_t count2) const;
  /// As compare(), but distinguishes case.
  std::int32_t exactCompare(Text other) const;

  /// @{
  /// By compare(), and throws what that throws. Text of the other width does not compare on either
  /// side: converting it is for the caller to say.
  friend bool operator==(Text a, Text b) { return AreEqual(a, b); }
  friend bool operator!=(Text a, Text b) { return !AreEqual(a, b); }
  friend bool operator<(Text a, Text b) { return Order(a, b) < 0; }
  friend bool operator>(Text a, Text b) { return Order(a, b) > 0; }
  friend bool operator<=(Text a, Text b) { return Order(a, b) <= 0; }
  friend bool operator>=(Text a, Text b) { return Order(a, b) >= 0; }
  /// @}

  /// Bytes that serialize() writes. Where 32 bits do not count them, a WString stops before the
  /// character that is too much, and any other form throws OutOfRange.
  std::uint32_t serializationSize() const;
  /// Writes a little-endian 4-byte count of bytes, then the bytes, and moves cursor past them.
  /// Throws BufferOverflow, with nothing written, when there is no room for all of them.
  void serialize(unsigned char*& cursor, const unsigned char* end) const;
  /// Reads what serialize() wrote and moves cursor past it, or leaves cursor where it was. Throws
  /// DeserializationError when the bytes end early (for CountedString also when their last is not
  /// zero) and InvalidSequence when a WString is not given UTF-8. The bytes may lie in the storage
  /// of this string; where cursor then points may be gone.
  void deserialize(const unsigned char*& cursor, const unsigned char* end);

 private:
  /// An empty string with room for capacity characters.
  struct Room {
    std::uint32_t capacity;
  };
  explicit StringBase(Room room);

  static bool AreEqual(Text a, Text b);
  static std::int32_t Order(Text a, Text b);

  void SetEnd(CharT* end) noexcept {
    end_ = end;
    *end_ = CharT();
  }
  bool Owns(const CharT* text) const noexcept;
  bool OwnsBytes(const unsigned char* bytes) const noexcept;
  bool TryResizeStorage(std::uint32_t capacity) noexcept;
  void ResizeStorage(std::uint32_t capacity);
  void ShrinkStorage() noexcept;
  void ReallocBuffer(std::uint32_t capacity);
  void Grow(std::uint32_t length);
  void MakeRoomAtEnd(std::uint32_t count);
  void Remove(std::uint32_t position, std::uint32_t count);
  std::uint32_t PositionOf(const CharT* first) const;
  std::uint32_t CountOf(const CharT* first, const CharT* last) const;
  void Read(const unsigned char* begin, const unsigned char* end);
  StringBase& Splice(std::uint32_t position, std::uint32_t count, const CharT* text,
                     std::uint32_t textCount);

  CharT* begin_;
  /// Always points at a terminating zero character.
  CharT* end_;
  /// The storage has one more slot, for the terminator.
  CharT* capacityEnd_;
};

/// @{
/// The four forms that there are.
using WString = StringBase<wchar_t>;
using String = StringBase<char>;
using CountedString = StringBase<char, wchar_t, char>;
using Utf8String = StringBase<unsigned char, wchar_t, wchar_t>;
/// @}

extern template class StringBase<wchar_t, char, wchar_t>;
extern template class StringBase<char, wchar_t, wchar_t>;
extern template class StringBase<char, wchar_t, char>;
extern template class StringBase<unsigned char, wchar_t, wchar_t>;

}  // namespace qv::kit
