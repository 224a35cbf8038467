#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kit/StringBase.h"
#include "kit/exception/InvalidSequence.h"
#include "kit/exception/OutOfRange.h"
#include "kit/exception/OutOfRange2.h"
#include "tests/reference/TextOrder.h"

namespace qv::tests {

/// A string and, beside it, one of the standard library that every edit is made to as well. Which
/// edits those are is asked of choices, whose below(limit) gives a number below limit.
template <typename S, typename Choices>
class StringEdits {
 public:
  using Char = std::decay_t<decltype(std::declval<S>()[0])>;
  using Standard = std::basic_string<Char>;

  explicit StringEdits(Choices& choices) : choices_(choices) {}

  /// Makes an edit and looks whether both strings are the same still.
  void edit() {
    // Long strings get shorter.
    const std::size_t first = expected_.size() > kLong ? kFirstThatGrowsNothing : 0;
    const auto edits = static_cast<std::uint32_t>(std::size(kEdits) - first);
    const std::size_t chosen = first + choices_.below(edits);
    SCOPED_TRACE("edit " + std::to_string(chosen));
    (this->*kEdits[chosen])();
    expectTheSame();
  }

  /// Asks both strings a question.
  void ask() {
    (this->*kQuestions[choices_.below(static_cast<std::uint32_t>(std::size(kQuestions)))])();
  }

 private:
  using Other = std::conditional_t<std::is_same_v<Char, wchar_t>, char, wchar_t>;
  using Edit = void (StringEdits::*)();

  static constexpr std::uint32_t npos = S::npos;
  static constexpr std::size_t kLong = 200;

  static std::size_t inStandard(std::uint32_t count) {
    return count == npos ? Standard::npos : count;
  }
  static std::uint32_t fromStandard(std::size_t position) {
    return position == Standard::npos ? npos : static_cast<std::uint32_t>(position);
  }
  static S of(const Standard& text) {
    return S(text.data(), static_cast<std::uint32_t>(text.size()));
  }

  Char anyCharacter() {
    static constexpr std::uint32_t kLetters[] = {
        'a', 'b', 'c', 'A', 'B', 'z', 'Z', '_', '@', '\0', 0xC3, 0xA9, 0x20AC, 0xFF, 0x80000000U};
    return static_cast<Char>(kLetters[choices_.below(std::size(kLetters))]);
  }

  Standard anyText() {
    Standard text;
    for (std::uint32_t left = choices_.below(9); left != 0; --left)
      text += anyCharacter();
    return text;
  }

  /// ASCII of the other width, which the conversions leave alone.
  std::basic_string<Other> anyForeignText() {
    std::basic_string<Other> text;
    for (std::uint32_t left = choices_.below(9); left != 0; --left)
      text += static_cast<Other>('a' + choices_.below(26));
    return text;
  }

  /// A position in a string of that length, its end, or beyond it.
  std::uint32_t anyPosition(std::size_t length) {
    const std::uint32_t position = choices_.below(static_cast<std::uint32_t>(length) + 3);
    return choices_.below(16) == 15 ? npos - position : position;
  }

  /// A position in a string of that length, or its end.
  std::uint32_t placeIn(const Standard& text) {
    return choices_.below(static_cast<std::uint32_t>(text.size()) + 1);
  }

  std::uint32_t anyCount() {
    const std::uint32_t count = choices_.below(16);
    return count >= 13 ? npos - (15 - count) : count;
  }

  /// Edits both strings. What the standard library refuses, a position beyond the end, is refused,
  /// and so is a sum that 32 bits do not hold where that is the rule; nothing changes then.
  template <typename EditString, typename EditStandard>
  void alike(EditString editString, EditStandard editStandard, bool wraps = false) {
    const Standard before = expected_;
    bool isRefused = wraps;
    try {
      if (!wraps) editStandard();
    } catch (const std::out_of_range&) {
      isRefused = true;
    }
    try {
      editString();
      EXPECT_FALSE(isRefused);
    } catch (const kit::exception::OutOfRange2&) {
      EXPECT_TRUE(isRefused);
    } catch (const kit::exception::OutOfRange&) {
      EXPECT_TRUE(wraps);
    }
    if (isRefused) expected_ = before;
  }

  static bool wraps(std::uint32_t position, std::uint32_t count) {
    return count != npos && count > npos - position;
  }

  void expectTheSame() {
    EXPECT_EQ(Standard(string_.begin(), string_.end()), expected_);
    EXPECT_EQ(Standard(other_.begin(), other_.end()), expectedOther_);
    EXPECT_EQ(*string_.end(), Char());
    EXPECT_EQ(string_.length(), expected_.size());
    EXPECT_EQ(string_.capacity(), capacity_);
    EXPECT_GE(string_.capacity(), string_.length());
    EXPECT_EQ(string_.empty(), expected_.empty());
    EXPECT_EQ(string_.hasEmbeddedNull(), expected_.find(Char()) != Standard::npos);
  }

  // What the capacity must be, after an edit of each kind.

  void appended() {
    if (expected_.size() > capacity_) capacity_ = 2 * static_cast<std::uint32_t>(expected_.size());
  }
  void fitted() {
    const auto needed = static_cast<std::uint32_t>(expected_.size());
    if (capacity_ < needed || capacity_ > 2 * needed) capacity_ = needed;
  }
  void whatever() { capacity_ = string_.capacity(); }

  // Edits that may make the string longer.

  void appendCharacter() {
    const Char character = anyCharacter();
    string_ += character;
    expected_ += character;
    appended();
  }
  void appendText() {
    const Standard text = anyText();
    string_.append(of(text));
    expected_.append(text);
    appended();
  }
  void appendUpToTerminator() {
    const Standard text = anyText();
    string_ += text.c_str();
    expected_ += text.c_str();
    appended();
  }
  void appendForeignText() {
    const std::basic_string<Other> text = anyForeignText();
    string_ += text.c_str();
    expected_.append(text.begin(), text.end());
    appended();
  }
  void appendRepeated() {
    const std::uint32_t count = choices_.below(5);
    const Char character = anyCharacter();
    string_.append(count, character);
    expected_.append(count, character);
    appended();
  }
  void appendItself() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    alike([&] { string_.append(string_, position, count); },
          [&] { expected_.append(Standard(expected_), position, inStandard(count)); },
          wraps(position, count));
    appended();
  }
  void appendOther() {
    const std::uint32_t position = anyPosition(expectedOther_.size());
    const std::uint32_t count = anyCount();
    alike([&] { string_.append(other_, position, count); },
          [&] { expected_.append(expectedOther_, position, inStandard(count)); },
          wraps(position, count));
    appended();
  }
  void appendOwnCharacters() {
    const std::uint32_t position = placeIn(expected_);
    const auto count = static_cast<std::uint32_t>(expected_.size()) - position;
    string_.append(string_.c_str() + position, count);
    expected_.append(Standard(expected_, position));
    appended();
  }
  void insert() {
    const std::uint32_t position = anyPosition(expected_.size());
    const Standard text = anyText();
    alike([&] { string_.replace(position, 0, of(text)); },
          [&] { expected_.insert(position, text); });
    if (position <= expected_.size()) fitted();
  }
  void replaceByOwnCharacters() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t position2 = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    const std::uint32_t count2 = anyCount();
    const bool isRefused = std::max(position, position2) > expected_.size();
    alike([&] { string_.replace(position, count, string_, position2, count2); },
          [&] {
            expected_.replace(position, inStandard(count), Standard(expected_), position2,
                              inStandard(count2));
          });
    if (!isRefused) fitted();
  }
  void putInFront() {
    const Standard text = anyText();
    string_ = S(of(text), string_);
    expected_.insert(0, text);
    whatever();
  }
  void addTexts() {
    const Standard text = anyText();
    const Char character = anyCharacter();
    string_ = string_ + of(text) + character;
    expected_ = expected_ + text + character;
    whatever();
  }
  void lengthen() {
    const auto length = static_cast<std::uint32_t>(expected_.size()) + choices_.below(7);
    const Char character = anyCharacter();
    string_.resize(length, character);
    expected_.resize(length, character);
    // A string that is as long already may shrink its storage.
    string_.length() == length ? whatever() : appended();
  }
  void reserve() {
    const std::uint32_t room = choices_.below(300);
    string_.reserve(room);
    capacity_ = std::max(capacity_, room);
  }

  // Edits that do not.

  void replace() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    const Standard text = anyText();
    const bool isRefused = position > expected_.size();
    alike([&] { string_.replace(position, count, of(text)); },
          [&] { expected_.replace(position, inStandard(count), text); });
    if (!isRefused) fitted();
  }
  void erase() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    const bool isRefused = position > expected_.size();
    alike([&] { string_.erase(position, count); },
          [&] { expected_.erase(position, inStandard(count)); });
    if (!isRefused) fitted();
  }
  void eraseAndKeep() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    alike([&] { string_.erase(position, count, kit::BufferStrategy::Keep); },
          [&] { expected_.erase(position, inStandard(count)); });
  }
  void eraseAndRelease() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    const bool isRefused = position > expected_.size();
    alike([&] { string_.erase(position, count, kit::BufferStrategy::Release); },
          [&] { expected_.erase(position, inStandard(count)); });
    if (!isRefused) capacity_ = static_cast<std::uint32_t>(expected_.size());
  }
  void eraseRange() {
    const std::uint32_t first = placeIn(expected_);
    const auto last =
        first + choices_.below(static_cast<std::uint32_t>(expected_.size()) - first + 1);
    const Char* const place = string_.erase(string_.begin() + first, string_.begin() + last);
    expected_.erase(first, last - first);
    EXPECT_EQ(place, string_.begin() + first);
    fitted();
  }
  void takePart() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    alike([&] { string_ = string_.substr(position, count); },
          [&] { expected_ = expected_.substr(position, inStandard(count)); },
          wraps(position, count));
    whatever();
  }
  void constructOfPart() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    alike([&] { string_ = S(string_, position, count); },
          [&] { expected_ = Standard(expected_, position, inStandard(count)); });
    whatever();
  }
  void assignOwnCharacters() {
    const std::uint32_t position = placeIn(expected_);
    const auto count = static_cast<std::uint32_t>(expected_.size()) - position;
    string_.assign(string_.c_str() + position, count);
    expected_ = expected_.substr(position);
    whatever();
  }
  void assignText() {
    const Standard text = anyText();
    string_ = text.c_str();
    expected_ = text.c_str();
    whatever();
  }
  void assignForeignText() {
    const std::basic_string<Other> text = anyForeignText();
    string_ = text.c_str();
    expected_.assign(text.begin(), text.end());
    whatever();
  }
  void assignOther() {
    string_ = other_;
    expected_ = expectedOther_;
    whatever();
  }
  void assignItself() {
    const S& same = string_;
    string_ = same;
  }
  void moveToOther() {
    other_ = std::move(string_);
    expectedOther_ = expected_;
    expected_.clear();
    whatever();
  }
  void swapWithOther() {
    string_.swap(other_);
    expected_.swap(expectedOther_);
    whatever();
  }
  void shorten() {
    const std::uint32_t length = placeIn(expected_);
    string_.resize(length);
    expected_.resize(length);
    fitted();
  }
  void clear() {
    string_.clear();
    expected_.clear();
    capacity_ = 0;
  }
  void freeString() {
    string_.freeString();
    expected_.clear();
    capacity_ = 0;
  }

  static constexpr Edit kEdits[] = {
      &StringEdits::appendCharacter,
      &StringEdits::appendText,
      &StringEdits::appendUpToTerminator,
      &StringEdits::appendForeignText,
      &StringEdits::appendRepeated,
      &StringEdits::appendItself,
      &StringEdits::appendOther,
      &StringEdits::appendOwnCharacters,
      &StringEdits::insert,
      &StringEdits::replaceByOwnCharacters,
      &StringEdits::putInFront,
      &StringEdits::addTexts,
      &StringEdits::lengthen,
      &StringEdits::reserve,
      &StringEdits::replace,
      &StringEdits::erase,
      &StringEdits::eraseAndKeep,
      &StringEdits::eraseAndRelease,
      &StringEdits::eraseRange,
      &StringEdits::takePart,
      &StringEdits::constructOfPart,
      &StringEdits::assignOwnCharacters,
      &StringEdits::assignText,
      &StringEdits::assignForeignText,
      &StringEdits::assignOther,
      &StringEdits::assignItself,
      &StringEdits::moveToOther,
      &StringEdits::swapWithOther,
      &StringEdits::shorten,
      &StringEdits::clear,
      &StringEdits::freeString,
  };
  static constexpr std::size_t kFirstThatGrowsNothing = 14;

  // Questions.

  void search() {
    const Standard sought = anyText();
    const S text = of(sought);
    const std::uint32_t position = anyPosition(expected_.size());
    const std::size_t from = inStandard(position);
    EXPECT_EQ(string_.find(text, position), fromStandard(expected_.find(sought, from)));
    EXPECT_EQ(string_.rfind(text, position), fromStandard(expected_.rfind(sought, from)));
    EXPECT_EQ(string_.find_first_of(text, position),
              fromStandard(expected_.find_first_of(sought, from)));
    EXPECT_EQ(string_.find_first_not_of(text, position),
              fromStandard(expected_.find_first_not_of(sought, from)));
    EXPECT_EQ(string_.find_last_of(text, position),
              fromStandard(expected_.find_last_of(sought, from)));
    EXPECT_EQ(string_.find_last_not_of(text, position),
              fromStandard(expected_.find_last_not_of(sought, from)));
  }
  void searchCharacter() {
    const Char sought = anyCharacter();
    const std::uint32_t position = anyPosition(expected_.size());
    const std::size_t from = inStandard(position);
    EXPECT_EQ(string_.find(sought, position), fromStandard(expected_.find(sought, from)));
    EXPECT_EQ(string_.rfind(sought, position), fromStandard(expected_.rfind(sought, from)));
    EXPECT_EQ(string_.find_first_not_of(sought, position),
              fromStandard(expected_.find_first_not_of(sought, from)));
    EXPECT_EQ(string_.find_last_not_of(sought, position),
              fromStandard(expected_.find_last_not_of(sought, from)));
  }
  void copyOut() {
    const std::uint32_t position = anyPosition(expected_.size());
    const std::uint32_t count = anyCount();
    std::vector<Char> copied(expected_.size() + 1, Char('?'));
    std::vector<Char> expected(copied);
    alike([&] { string_.copy(copied.data(), count, position); },
          [&] { expected_.copy(expected.data(), inStandard(count), position); });
    EXPECT_EQ(copied, expected);
  }
  void compareWithOther() {
    const Order order = orderOf(expected_, expectedOther_, true);
    expectOrder(order, [&] { return string_.compare(other_); });
    expectOrder(orderOf(expected_, expectedOther_, false),
                [&] { return string_.exactCompare(other_); });
    const Order sign = order ? Order((*order > 0) - (*order < 0)) : order;
    expectOrder(sign, [&] { return (string_ > other_) - (string_ < other_); });
    expectOrder(sign, [&] { return (string_ >= other_) - (string_ <= other_); });
    const Order difference = order ? Order(*order != 0) : order;
    expectOrder(difference, [&] { return string_ != other_; });
    expectOrder(difference, [&] { return !(string_ == other_); });
  }
  void comparePart() {
    const std::uint32_t position = placeIn(expected_);
    const std::uint32_t count = choices_.below(9);
    const Standard text = anyText();
    const auto length = static_cast<std::uint32_t>(text.size());
    expectOrder(orderOf(expected_.substr(position, count), text, true),
                [&] { return string_.compare(position, count, text.data(), length); });
  }

  /// Nothing for texts that should be UTF-8 and are not: they cannot be compared.
  using Order = std::optional<std::int64_t>;

  static Order orderOf(const Standard& a, const Standard& b, bool ignoresCase) {
    const std::vector<Char> first(a.begin(), a.end());
    const std::vector<Char> second(b.begin(), b.end());
    if constexpr (std::is_same_v<Char, unsigned char>) {
      return reference::Utf8Order(first, second, ignoresCase);
    } else {
      return reference::Order(first, second, ignoresCase);
    }
  }

  template <typename Compare>
  static void expectOrder(Order expected, Compare compare) {
    Order order;
    try {
      order = compare();
    } catch (const kit::exception::InvalidSequence&) {
    }
    EXPECT_EQ(order, expected);
  }

  static constexpr Edit kQuestions[] = {&StringEdits::search, &StringEdits::searchCharacter,
                                        &StringEdits::copyOut, &StringEdits::compareWithOther,
                                        &StringEdits::comparePart};

  Choices& choices_;
  S string_;
  Standard expected_;
  S other_;
  Standard expectedOther_;
  std::uint32_t capacity_ = 0;
};

}  // namespace qv::tests
