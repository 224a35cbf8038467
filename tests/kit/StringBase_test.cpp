#include "kit/StringBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kit/exception/OutOfRange.h"
#include "kit/exception/OutOfRange2.h"
#include "tests/kit/AsciiText.h"

namespace {

using qv::kit::BufferStrategy;
using qv::kit::CountedString;
using qv::kit::String;
using qv::kit::StringBase;
using qv::kit::Utf8String;
using qv::kit::WString;
using qv::kit::exception::OutOfRange;
using qv::kit::exception::OutOfRange2;
using qv::tests::ToAscii;

constexpr std::uint32_t npos = 0xFFFFFFFFU;

static_assert(std::is_same_v<StringBase<wchar_t>, StringBase<wchar_t, char, wchar_t>>);
static_assert(std::is_same_v<StringBase<char>, StringBase<char, wchar_t, wchar_t>>);
static_assert(std::is_same_v<WString, StringBase<wchar_t>>);
static_assert(std::is_same_v<String, StringBase<char>>);

/// What holds for a string of every form.
template <typename S>
class EveryStringForm : public testing::Test {
 protected:
  using Char = std::decay_t<decltype(std::declval<S>()[0])>;

  /// Zero-terminated text in the characters of the form, alive as long as the test.
  const Char* Text(const char* ascii) {
    std::vector<Char> text;
    for (; *ascii != '\0'; ++ascii)
      text.push_back(static_cast<Char>(*ascii));
    text.push_back(Char());
    texts_.push_back(std::move(text));
    return texts_.back().data();
  }
  static Char Of(char character) { return static_cast<Char>(character); }

  static void ExpectIntact(const S& string, const std::string& content) {
    EXPECT_EQ(ToAscii(string), content);
    ASSERT_NE(string.c_str(), nullptr);
    EXPECT_EQ(string.begin(), string.c_str());
    EXPECT_EQ(*string.end(), Char());
    EXPECT_EQ(string.length(), content.size());
    EXPECT_EQ(string.size(), content.size());
    EXPECT_GE(string.capacity(), string.length());
  }

  template <typename Action>
  static void ExpectOffsetRefused(Action action) {
    try {
      action();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const OutOfRange2& refusal) {
      EXPECT_STREQ(refusal.what(), "Out of range: String offset out of range");
      EXPECT_STREQ(refusal.file(), "kit/StringBase.cpp");
      EXPECT_NE(refusal.line(), 0U);
    }
  }

  /// OutOfRange itself, not one of those with a detail, from a check in this file.
  template <typename Action>
  static void ExpectPlainRefusal(const char* file, Action action) {
    try {
      action();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const OutOfRange& refusal) {
      EXPECT_STREQ(refusal.what(), "Out of range");
      EXPECT_STREQ(refusal.file(), file);
      EXPECT_NE(refusal.line(), 0U);
    }
  }
  template <typename Action>
  static void ExpectWrapRefused(Action action) {
    ExpectPlainRefusal("kit/SafeInteger.h", action);
  }
  template <typename Action>
  static void ExpectRangeRefused(Action action) {
    ExpectPlainRefusal("kit/StringBase.cpp", action);
  }

 private:
  std::vector<std::vector<Char>> texts_;
};

using Forms = testing::Types<WString, String, CountedString, Utf8String>;

struct FormNames {
  template <typename S>
  static std::string GetName(int) {
    if (std::is_same_v<S, WString>) return "WString";
    if (std::is_same_v<S, String>) return "String";
    return std::is_same_v<S, CountedString> ? "CountedString" : "Utf8String";
  }
};

TYPED_TEST_SUITE(EveryStringForm, Forms, FormNames);

// Construction

TYPED_TEST(EveryStringForm, DefaultConstructedIsEmptyTerminatedAndHasNoCapacity) {
  const TypeParam string;
  this->ExpectIntact(string, "");
  EXPECT_EQ(string.capacity(), 0U);
  EXPECT_TRUE(string.empty());
}

TYPED_TEST(EveryStringForm, FromZeroTerminatedTextHasExactlyItsCapacity) {
  const TypeParam string(this->Text("quay"));
  this->ExpectIntact(string, "quay");
  EXPECT_EQ(string.capacity(), 4U);
  EXPECT_FALSE(string.empty());
}

TYPED_TEST(EveryStringForm, FromNullIsEmpty) {
  const typename TestFixture::Char* null = nullptr;
  const TypeParam string(null);
  this->ExpectIntact(string, "");
  EXPECT_EQ(string.capacity(), 0U);
}

TYPED_TEST(EveryStringForm, FromPointerAndCountTakesZerosToo) {
  this->ExpectIntact(TypeParam(this->Text("abcd"), 2), "ab");
  const typename TestFixture::Char text[] = {this->Of('a'), this->Of('\0'), this->Of('c')};
  this->ExpectIntact(TypeParam(text, 3), std::string("a\0c", 3));
}

TYPED_TEST(EveryStringForm, FromPointerAndOpenCountGoesUpToTheTerminator) {
  this->ExpectIntact(TypeParam(this->Text("quay"), npos), "quay");
}

TYPED_TEST(EveryStringForm, NullIsTheEmptyTextWhateverItsCount) {
  const typename TestFixture::Char* null = nullptr;
  const TypeParam string(this->Text("a"));
  for (const std::uint32_t count : {0U, 1U, 0x80000000U, npos}) {
    this->ExpectIntact(TypeParam(null, count), "");
    this->ExpectIntact(TypeParam(string).append(null, count), "a");
    this->ExpectIntact(TypeParam(string).assign(null, count), "");
    EXPECT_GT(string.compare(0, npos, null, count), 0);
    EXPECT_EQ(string.compare(1, npos, null, count), 0);
  }
}

TEST(WideString, TakesNoCountOfMoreCharactersThanStorageCanHoldAndReadsNone) {
  const wchar_t text[] = L"quay";
  // In 32 bits of bytes some of them are as many as there are, or fewer.
  for (const std::uint32_t count :
       {0x3FFFFFFFU, 0x40000000U, 0x40000003U, 0x7FFFFFFFU, 0x80000003U, 0xFFFFFFFEU}) {
    WString string(L"cove");
    EXPECT_THROW(WString(text, count), OutOfRange) << count;
    EXPECT_THROW(string.append(text, count), OutOfRange) << count;
    EXPECT_THROW(string.assign(text, count), OutOfRange) << count;
    EXPECT_THROW(string.assign(string.c_str(), count), OutOfRange) << count;
    EXPECT_EQ(string.exactCompare(L"cove"), 0) << count;
  }
}

TYPED_TEST(EveryStringForm, FromRangeTakesWhatLiesBetween) {
  const auto* text = this->Text("harbour");
  this->ExpectIntact(TypeParam(text + 1, text + 4), "arb");
  this->ExpectIntact(TypeParam(text, text), "");
}

TYPED_TEST(EveryStringForm, FromRangeThatRunsBackwardsThrowsOutOfRange) {
  const auto* text = this->Text("harbour");
  EXPECT_THROW(TypeParam(text + 4, text + 1), OutOfRange);
}

TYPED_TEST(EveryStringForm, FromCountAndCharacterRepeatsIt) {
  this->ExpectIntact(TypeParam(3, this->Of('x')), "xxx");
  this->ExpectIntact(TypeParam(0U, this->Of('x')), "");
}

TYPED_TEST(EveryStringForm, CopyOwnsCharactersOfItsOwn) {
  TypeParam original(this->Text("pier"));
  const TypeParam copy(original);
  original[0] = this->Of('t');
  this->ExpectIntact(copy, "pier");
  this->ExpectIntact(original, "tier");
}

TYPED_TEST(EveryStringForm, MovedFromStringIsAValidEmptyOne) {
  TypeParam original(this->Text("pier"));
  TypeParam taken(std::move(original));
  this->ExpectIntact(taken, "pier");
  this->ExpectIntact(original, "");  // NOLINT(bugprone-use-after-move): its state is promised.
  original.append(this->Text("again"));
  this->ExpectIntact(original, "again");
}

TYPED_TEST(EveryStringForm, SubstringConstructorClipsItsCount) {
  const TypeParam string(this->Text("harbour"));
  this->ExpectIntact(TypeParam(string, 3, 2), "bo");
  this->ExpectIntact(TypeParam(string, 3, 100), "bour");
  this->ExpectIntact(TypeParam(string, 3), "bour");
  this->ExpectIntact(TypeParam(string, 7, npos), "");
}

TYPED_TEST(EveryStringForm, SubstringConstructorRefusesAPositionPastTheEnd) {
  const TypeParam string(this->Text("harbour"));
  this->ExpectOffsetRefused([&] { TypeParam(string, 8, 0); });
  this->ExpectOffsetRefused([&] { TypeParam(string, npos, npos); });
}

TYPED_TEST(EveryStringForm, ConcatenationConstructorJoinsTwoStringsExactly) {
  const TypeParam a(this->Text("tide"));
  const TypeParam joined(a, TypeParam(this->Text("-gate")));
  this->ExpectIntact(joined, "tide-gate");
  EXPECT_EQ(joined.capacity(), 9U);
  this->ExpectIntact(TypeParam(a, a), "tidetide");
}

// Assignment

TYPED_TEST(EveryStringForm, AssignsAStringAPointerAndAPointerWithCount) {
  TypeParam string(this->Text("old"));
  string = TypeParam(this->Text("lagoon"));
  this->ExpectIntact(string, "lagoon");
  const TypeParam other(this->Text("reef"));
  string = other;
  this->ExpectIntact(string, "reef");
  string = this->Text("bay");
  this->ExpectIntact(string, "bay");
  string.assign(this->Text("estuary"), 3);
  this->ExpectIntact(string, "est");
  string.assign(this->Text("estuary"), npos);
  this->ExpectIntact(string, "estuary");
}

TYPED_TEST(EveryStringForm, AssigningANullPointerEmptiesIt) {
  TypeParam string(this->Text("old"));
  const typename TestFixture::Char* null = nullptr;
  string = null;
  this->ExpectIntact(string, "");
}

TYPED_TEST(EveryStringForm, AssigningToItselfChangesNothing) {
  TypeParam string(this->Text("delta"));
  TypeParam& same = string;
  string = same;
  this->ExpectIntact(string, "delta");
  string = std::move(same);
  this->ExpectIntact(string, "delta");
  string = string.c_str();
  this->ExpectIntact(string, "delta");
}

TYPED_TEST(EveryStringForm, AssignsAPartOfItself) {
  TypeParam string(this->Text("breakwater"));
  string.assign(string.c_str() + 5, 5);
  this->ExpectIntact(string, "water");
  string = string.c_str() + 2;
  this->ExpectIntact(string, "ter");
}

TYPED_TEST(EveryStringForm, MoveAssignmentLeavesTheSourceEmpty) {
  TypeParam source(this->Text("delta"));
  TypeParam target(this->Text("old"));
  target = std::move(source);
  this->ExpectIntact(target, "delta");
  this->ExpectIntact(source, "");  // NOLINT(bugprone-use-after-move): its state is promised.
}

TYPED_TEST(EveryStringForm, SwapExchangesTextAndStorage) {
  TypeParam a(this->Text("ebb"));
  TypeParam b(this->Text("flood"));
  const auto* storage = a.c_str();
  a.swap(b);
  this->ExpectIntact(a, "flood");
  this->ExpectIntact(b, "ebb");
  EXPECT_EQ(b.c_str(), storage);
}

// Access

TYPED_TEST(EveryStringForm, CharactersCanBeWrittenThroughIndexAndIterator) {
  TypeParam string(this->Text("mast"));
  string[0] = this->Of('p');
  *(string.end() - 1) = this->Of('s');
  *(string.begin() + 1) = this->Of('e');
  this->ExpectIntact(string, "pess");
  EXPECT_EQ(static_cast<const TypeParam&>(string)[4], this->Of('\0'));
}

TYPED_TEST(EveryStringForm, CopyGivesCharactersWithoutTerminator) {
  const TypeParam string(this->Text("harbour"));
  typename TestFixture::Char out[4] = {this->Of('.'), this->Of('.'), this->Of('.'), this->Of('.')};
  EXPECT_EQ(string.copy(out, 3, 2), 3U);
  this->ExpectIntact(TypeParam(out, 4), "rbo.");
  EXPECT_EQ(string.copy(out, npos, 5), 2U);
  this->ExpectIntact(TypeParam(out, 4), "uro.");
  EXPECT_EQ(string.copy(out, 1), 1U);
  this->ExpectIntact(TypeParam(out, 4), "hro.");
  EXPECT_EQ(string.copy(out, 4, 7), 0U);
}

TYPED_TEST(EveryStringForm, CopyRefusesAPositionPastTheEnd) {
  const TypeParam string(this->Text("harbour"));
  typename TestFixture::Char out[1];
  this->ExpectOffsetRefused([&] { string.copy(out, 0, 8); });
}

TYPED_TEST(EveryStringForm, KnowsWhetherAZeroStandsBeforeItsEnd) {
  TypeParam string(this->Text("buoy"));
  EXPECT_FALSE(string.hasEmbeddedNull());
  EXPECT_FALSE(TypeParam().hasEmbeddedNull());
  string += this->Of('\0');
  EXPECT_TRUE(string.hasEmbeddedNull());
}

// Growing and shrinking

TYPED_TEST(EveryStringForm, AppendedCharactersReallocateAtLengthsOneThreeSevenFifteen) {
  TypeParam string;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> growth;
  for (std::uint32_t length = 1; length <= 20; ++length) {
    const std::uint32_t before = string.capacity();
    string += this->Of('a');
    if (string.capacity() != before) growth.emplace_back(length, string.capacity());
  }
  EXPECT_THAT(growth, testing::ElementsAre(std::pair(1U, 2U), std::pair(3U, 6U), std::pair(7U, 14U),
                                           std::pair(15U, 30U)));
}

TYPED_TEST(EveryStringForm, ReserveMakesExactlyThatRoomAndKeepsTheText) {
  TypeParam string(this->Text("cove"));
  string.reserve(100);
  this->ExpectIntact(string, "cove");
  EXPECT_EQ(string.capacity(), 100U);
}

TYPED_TEST(EveryStringForm, ReserveNeverShrinks) {
  TypeParam string(this->Text("cove"));
  string.reserve(100);
  string.reserve(0);
  string.reserve(10);
  EXPECT_EQ(string.capacity(), 100U);
}

TYPED_TEST(EveryStringForm, ReserveOfUncountableRoomThrowsOutOfRangeAndChangesNothing) {
  TypeParam string(this->Text("cove"));
  this->ExpectWrapRefused([&] { string.reserve(npos); });
  this->ExpectIntact(string, "cove");
  EXPECT_EQ(string.capacity(), 4U);
}

TYPED_TEST(EveryStringForm, AppendingTwoToThe31CharactersThrowsOutOfRangeAndChangesNothing) {
  TypeParam string(this->Text("cove"));
  this->ExpectWrapRefused([&] { string.append(0x80000000U - 4, this->Of('a')); });
  this->ExpectWrapRefused([&] { string.append(0xFFFFFFFFU, this->Of('a')); });
  this->ExpectWrapRefused([&] { string.resize(0xFFFFFFFFU, this->Of('a')); });
  this->ExpectIntact(string, "cove");
  EXPECT_EQ(string.capacity(), 4U);
}

TYPED_TEST(EveryStringForm, ResizeFillsUpOrCutsDown) {
  TypeParam string(this->Text("cove"));
  string.resize(6, this->Of('!'));
  this->ExpectIntact(string, "cove!!");
  string.resize(2, this->Of('?'));
  this->ExpectIntact(string, "co");
  string.resize(2, this->Of('?'));
  this->ExpectIntact(string, "co");
  string.resize(3);
  this->ExpectIntact(string, std::string("co\0", 3));
}

TYPED_TEST(EveryStringForm, ResizeKeepsOrReleasesStorageAsTold) {
  TypeParam string(100, this->Of('a'));
  string.resize(3, this->Of('a'), BufferStrategy::Keep);
  this->ExpectIntact(string, "aaa");
  EXPECT_EQ(string.capacity(), 100U);
  string.resize(4, this->Of('b'), BufferStrategy::Release);
  this->ExpectIntact(string, "aaab");
  string.resize(2, this->Of('b'), BufferStrategy::Release);
  this->ExpectIntact(string, "aa");
  EXPECT_EQ(string.capacity(), 2U);
}

TYPED_TEST(EveryStringForm, EraseTakesOutUpToCountCharacters) {
  TypeParam string(this->Text("lighthouse"));
  this->ExpectIntact(string.erase(5, 2), "lightuse");
  this->ExpectIntact(string.erase(5), "light");
  this->ExpectIntact(string.erase(5, 7), "light");
  this->ExpectIntact(string.erase(1, 0), "light");
  this->ExpectIntact(string.erase(), "");
}

TYPED_TEST(EveryStringForm, EraseRefusesAPositionPastTheEnd) {
  TypeParam string(this->Text("light"));
  this->ExpectOffsetRefused([&] { string.erase(6, 0); });
  this->ExpectOffsetRefused([&] { string.erase(6, npos, BufferStrategy::Release); });
  this->ExpectIntact(string, "light");
}

TYPED_TEST(EveryStringForm, EraseShrinksStorageOfMoreThanTwiceTheLengthLeft) {
  TypeParam string(10, this->Of('a'));
  string.erase(5, 5);
  EXPECT_EQ(string.capacity(), 10U);
  string.erase(4, 1);
  EXPECT_EQ(string.capacity(), 4U);
  this->ExpectIntact(string, "aaaa");
}

TYPED_TEST(EveryStringForm, EraseKeepsOrReleasesStorageAsTold) {
  TypeParam string(this->Text("lighthouse"));
  this->ExpectIntact(string.erase(1, 8, BufferStrategy::Keep), "le");
  EXPECT_EQ(string.capacity(), 10U);
  this->ExpectIntact(string.erase(0, 1, BufferStrategy::Release), "e");
  EXPECT_EQ(string.capacity(), 1U);
}

TYPED_TEST(EveryStringForm, EraseOfARangeReturnsThePlaceWhereItWas) {
  TypeParam string(this->Text("lighthouse"));
  auto* place = string.erase(string.begin() + 2, string.begin() + 6);
  this->ExpectIntact(string, "liouse");
  EXPECT_EQ(place, string.begin() + 2);
  place = string.erase(string.begin() + 1, string.end(), BufferStrategy::Keep);
  this->ExpectIntact(string, "l");
  EXPECT_EQ(place, string.end());
  string.erase(string.begin(), string.begin());
  this->ExpectIntact(string, "l");
}

TYPED_TEST(EveryStringForm, EraseRefusesARangeThatIsNotItsOwn) {
  TypeParam string(this->Text("lighthouse"));
  string.reserve(50);
  const auto* stranger = this->Text("stranger");
  this->ExpectOffsetRefused([&] { string.erase(stranger, stranger + 1); });
  this->ExpectOffsetRefused([&] { string.erase(string.end() + 1, string.end() + 1); });
  const auto* const middle = string.c_str() + 3;
  for (const auto* last : {middle - 1, middle + 8, stranger, stranger + 1}) {
    this->ExpectRangeRefused([&] { string.erase(middle, last); });
    this->ExpectRangeRefused([&] { string.erase(middle, last, BufferStrategy::Keep); });
  }
  this->ExpectIntact(string, "lighthouse");
}

TYPED_TEST(EveryStringForm, ClearKeepsOrReleasesStorageAsTold) {
  TypeParam string(this->Text("lighthouse"));
  string.clear(BufferStrategy::Keep);
  this->ExpectIntact(string, "");
  EXPECT_EQ(string.capacity(), 10U);
  string.append(this->Text("x"));
  string.clear(BufferStrategy::Release);
  this->ExpectIntact(string, "");
  EXPECT_EQ(string.capacity(), 0U);
}

TYPED_TEST(EveryStringForm, ClearGoesDownToTheSlotOfTheTerminator) {
  TypeParam string(this->Text("lighthouse"));
  string.clear();
  this->ExpectIntact(string, "");
  EXPECT_EQ(string.capacity(), 0U);
}

TYPED_TEST(EveryStringForm, FreeStringLeavesAUsableEmptyString) {
  TypeParam string(this->Text("lighthouse"));
  string.freeString();
  this->ExpectIntact(string, "");
  EXPECT_EQ(string.capacity(), 0U);
  string.freeString();
  string += this->Of('a');
  this->ExpectIntact(string, "a");
}

// Appending

TYPED_TEST(EveryStringForm, AppendsEveryRightHandSide) {
  TypeParam string(this->Text("a"));
  string.append(TypeParam(this->Text("b")));
  string.append(this->Text("c"));
  string.append(this->Text("defg"), 2);
  string.append(this->Text("f"), npos);
  string.append(2, this->Of('g'));
  string.append(TypeParam(this->Text("xhix")), 1, 2);
  string += TypeParam(this->Text("j"));
  string += this->Text("k");
  string += this->Of('l');
  this->ExpectIntact(string, "abcdefgghijkl");
}

TYPED_TEST(EveryStringForm, AppendingNothingKeepsTheStorage) {
  TypeParam string(this->Text("a"));
  const typename TestFixture::Char* null = nullptr;
  string.append(null).append(null, 0).append(0U, this->Of('x')).append(TypeParam());
  this->ExpectIntact(string, "a");
  EXPECT_EQ(string.capacity(), 1U);
}

TYPED_TEST(EveryStringForm, AppendedSubRangeIsClippedToItsString) {
  const TypeParam other(this->Text("sloop"));
  this->ExpectIntact(TypeParam().append(other, 2, npos), "oop");
  this->ExpectIntact(TypeParam().append(other, 2, 100), "oop");
  this->ExpectIntact(TypeParam().append(other, 5, 1), "");
}

TYPED_TEST(EveryStringForm, AppendedSubRangeRefusesAPositionPastTheEnd) {
  TypeParam string(this->Text("a"));
  const TypeParam other(this->Text("sloop"));
  this->ExpectOffsetRefused([&] { string.append(other, 6, 0); });
  this->ExpectOffsetRefused([&] { string.append(other, 6, npos); });
  this->ExpectIntact(string, "a");
}

TYPED_TEST(EveryStringForm, AppendedSubRangeThatWrapsThrowsOutOfRangeFirst) {
  TypeParam string(this->Text("a"));
  const TypeParam other(this->Text("sloop"));
  this->ExpectWrapRefused([&] { string.append(other, 2, 0xFFFFFFFEU); });
  this->ExpectWrapRefused([&] { string.append(other, 0xFFFFFFFEU, 2); });
  this->ExpectIntact(string, "a");
}

TYPED_TEST(EveryStringForm, AppendsItselfAndPartsOfItself) {
  TypeParam string(this->Text("ab"));
  string.append(string);
  this->ExpectIntact(string, "abab");
  string += string;
  this->ExpectIntact(string, "abababab");
  string.erase(3, npos, BufferStrategy::Release);
  string.append(string.c_str() + 1, 2);
  this->ExpectIntact(string, "ababa");
  string.append(string.c_str() + 3);
  this->ExpectIntact(string, "abababa");
  string.append(string, 5, 2);
  this->ExpectIntact(string, "ababababa");
}

TYPED_TEST(EveryStringForm, AppendsItselfWithItsTerminator) {
  TypeParam string(this->Text("ab"));
  string.reserve(20);
  string.append(string.c_str(), 3);
  this->ExpectIntact(string, std::string("abab\0", 5));
}

TYPED_TEST(EveryStringForm, PlusJoinsStringsPointersAndCharacters) {
  const TypeParam string(this->Text("ab"));
  this->ExpectIntact(string + string, "abab");
  this->ExpectIntact(string + this->Text("cd"), "abcd");
  this->ExpectIntact(string + this->Of('c'), "abc");
  this->ExpectIntact(this->Text("cd") + string, "cdab");
  this->ExpectIntact(string + this->Text("-") + string + this->Of('!'), "ab-ab!");
  this->ExpectIntact(string, "ab");
}

// Editing

TYPED_TEST(EveryStringForm, ReplacePutsOtherTextInPlaceOfCharacters) {
  TypeParam string(this->Text("northern wind"));
  this->ExpectIntact(string.replace(0, 8, TypeParam(this->Text("east"))), "east wind");
  this->ExpectIntact(string.replace(0, 4, this->Text("southern")), "southern wind");
  this->ExpectIntact(string.replace(9, 100, this->Text("gale")), "southern gale");
  this->ExpectIntact(string.replace(5, 3, TypeParam()), "south gale");
  this->ExpectIntact(string.replace(5, 0, this->Text("-west")), "south-west gale");
}

TYPED_TEST(EveryStringForm, ReplaceTakesASubRangeOfTheOther) {
  TypeParam string(this->Text("abcd"));
  const TypeParam other(this->Text("uvwxyz"));
  this->ExpectIntact(string.replace(1, 2, other, 2, 3), "awxyd");
  this->ExpectIntact(string.replace(0, 1, other, 4, npos), "yzwxyd");
  this->ExpectIntact(string.replace(6, 1, other, 6, 1), "yzwxyd");
}

TYPED_TEST(EveryStringForm, ReplaceAtTheLengthAppends) {
  TypeParam string(this->Text("abcd"));
  this->ExpectIntact(string.replace(4, 1, this->Text("e")), "abcde");
}

TYPED_TEST(EveryStringForm, ReplaceRefusesPositionsPastAnEnd) {
  TypeParam string(this->Text("abcd"));
  const TypeParam other(this->Text("xy"));
  this->ExpectOffsetRefused([&] { string.replace(5, 0, other); });
  this->ExpectOffsetRefused([&] { string.replace(5, npos, other, 0, npos); });
  this->ExpectOffsetRefused([&] { string.replace(0, npos, other, 3, 0); });
  this->ExpectIntact(string, "abcd");
}

TYPED_TEST(EveryStringForm, ReplaceWithPartsOfItselfWorksAsIfTheyHadBeenCopied) {
  TypeParam string(this->Text("abcdef"));
  this->ExpectIntact(string.replace(1, 4, string), "aabcdeff");
  this->ExpectIntact(string.replace(0, 2, string, 6, 2), "ffbcdeff");
  this->ExpectIntact(string.replace(2, 4, string.c_str() + 4), "ffdeffff");
}

TYPED_TEST(EveryStringForm, ReplaceSizesTheStorageForTheResult) {
  TypeParam string(10, this->Of('a'));
  string.replace(0, 5, this->Text(""));
  EXPECT_EQ(string.capacity(), 10U);
  string.replace(0, 3, this->Text("bb"));
  EXPECT_EQ(string.capacity(), 4U);
  this->ExpectIntact(string, "bbaa");
  string.replace(0, 0, this->Text("cc"));
  EXPECT_EQ(string.capacity(), 6U);
  this->ExpectIntact(string, "ccbbaa");
}

TYPED_TEST(EveryStringForm, SubstrClipsItsCount) {
  const TypeParam string(this->Text("harbour"));
  this->ExpectIntact(string.substr(3, 2), "bo");
  this->ExpectIntact(string.substr(3), "bour");
  this->ExpectIntact(string.substr(3, 4000000000U), "bour");
  this->ExpectIntact(string.substr(7), "");
}

TYPED_TEST(EveryStringForm, SubstrRefusesAPositionPastTheEndAndFirstARangeThatWraps) {
  const TypeParam string(this->Text("harbour"));
  this->ExpectOffsetRefused([&] { string.substr(8); });
  this->ExpectOffsetRefused([&] { string.substr(8, 0xFFFFFFF7U); });
  this->ExpectWrapRefused([&] { string.substr(8, 0xFFFFFFF8U); });
  this->ExpectWrapRefused([&] { string.substr(2, 0xFFFFFFFEU); });
}

}  // namespace
