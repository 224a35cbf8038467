#include "kit/StringBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kit/exception/BoundExceeded2.h"
#include "kit/exception/OutOfRange.h"
#include "tests/ReservedRange.h"
#include "tests/doubles/FailingAllocator.h"
#include "tests/kit/AsciiText.h"

namespace {

using qv::kit::BufferStrategy;
using qv::kit::CountedString;
using qv::kit::String;
using qv::kit::Utf8String;
using qv::kit::WString;
using qv::kit::exception::BoundExceeded2;
using qv::kit::exception::OutOfRange;
using qv::tests::FailingAllocator;
using qv::tests::FromAscii;
using qv::tests::ToAscii;
using testing::ElementsAre;
using testing::IsEmpty;

template <typename S>
using CharOf = std::decay_t<decltype(std::declval<S>()[0])>;

/// Text of the other width, which is converted without iconv where the form is Utf8String.
template <typename S>
auto OtherText() {
  if constexpr (std::is_same_v<S, WString>) {
    return std::string("breakwater");
  } else {
    return std::wstring(L"breakwater");
  }
}

template <typename S>
class StringWithoutMemory : public testing::Test {};

using Forms = testing::Types<WString, String, CountedString, Utf8String>;
TYPED_TEST_SUITE(StringWithoutMemory, Forms);

TYPED_TEST(StringWithoutMemory, EveryOperationThatGrowsFailsAtEachAllocationAndChangesNothing) {
  using S = TypeParam;
  const S other = FromAscii<S>("breakwater");
  const std::basic_string<CharOf<S>> longText(30, static_cast<CharOf<S>>('x'));
  const CharOf<S>* text = longText.c_str();
  const auto otherText = OtherText<S>();
  const auto* converted = otherText.c_str();
  const std::conditional_t<std::is_same_v<S, WString>, String, WString> otherString(converted);
  std::vector<unsigned char> bytes(other.serializationSize());
  unsigned char* written = bytes.data();
  other.serialize(written, bytes.data() + bytes.size());

  const std::vector<std::pair<const char*, std::function<void(S&)>>> operations = {
      {"copy construction", [&](S&) { S{other}; }},
      {"assignment", [&](S& s) { s = other; }},
      {"assignment of text", [&](S& s) { s = text; }},
      {"assignment of counted text", [&](S& s) { s.assign(text, 12); }},
      {"assignment of a part of itself", [&](S& s) { s.assign(s.c_str() + 1, 3); }},
      {"reserve", [&](S& s) { s.reserve(50); }},
      {"resize", [&](S& s) { s.resize(50, CharOf<S>()); }},
      {"append", [&](S& s) { s.append(other); }},
      {"append of itself", [&](S& s) { s.append(s); }},
      {"append of text", [&](S& s) { s.append(text); }},
      {"append of a sub-range", [&](S& s) { s.append(other, 2, 5); }},
      {"append of characters", [&](S& s) { s.append(9, text[0]); }},
      {"append of a character", [&](S& s) { s += text[0]; }},
      {"replace", [&](S& s) { s.replace(2, 1, other); }},
      {"replace with itself", [&](S& s) { s.replace(2, 1, s); }},
      {"sum", [&](S& s) { s + other; }},
      {"substr", [&](S& s) { s.substr(2); }},
      {"construction by conversion", [&](S&) { S{converted}; }},
      {"construction by conversion of a string", [&](S&) { S{otherString}; }},
      {"construction from text and a converted string", [&](S&) { S(text, otherString); }},
      {"assignment of converted text", [&](S& s) { s = converted; }},
      {"assignment of a converted string", [&](S& s) { s = otherString; }},
      {"append of converted text", [&](S& s) { s.append(converted); }},
      {"addition of converted text", [&](S& s) { s += converted; }},
      {"sum with converted text", [&](S& s) { s + converted; }},
      {"deserialize",
       [&](S& s) {
         const unsigned char* cursor = bytes.data();
         try {
           s.deserialize(cursor, bytes.data() + bytes.size());
         } catch (const std::bad_alloc&) {
           EXPECT_EQ(cursor, bytes.data());
           throw;
         }
       }},
  };
  for (const auto& [name, operation] : operations) {
    SCOPED_TRACE(name);
    std::uint32_t failures = 0;
    for (bool failed = true; failed;) {
      S string = FromAscii<S>("quay");
      string.reserve(4);
      string.erase(4, 0, BufferStrategy::Release);
      FailingAllocator allocator;
      allocator.FailFrom(failures + 1);
      try {
        operation(string);
        failed = false;
      } catch (const std::bad_alloc&) {
        ++failures;
        EXPECT_EQ(ToAscii(string), "quay");
        EXPECT_EQ(string.capacity(), 4U);
        EXPECT_EQ(*string.end(), CharOf<S>());
      }
    }
    EXPECT_GE(failures, 1U);
  }
}

TYPED_TEST(StringWithoutMemory, ReadingItsOwnStorageFailsAtEachAllocationWithTheTextAsItWas) {
  std::uint32_t failures = 0;
  for (bool failed = true; failed;) {
    TypeParam string(40, CharOf<TypeParam>());
    auto* const storage = reinterpret_cast<unsigned char*>(string.begin());
    unsigned char* written = storage;
    FromAscii<TypeParam>("quay").serialize(written, storage + 40);
    const TypeParam before(string);
    const unsigned char* cursor = storage;
    FailingAllocator allocator;
    allocator.FailCall(failures + 1);
    try {
      string.deserialize(cursor, written);
      failed = false;
    } catch (const std::bad_alloc&) {
      ++failures;
      EXPECT_EQ(cursor, storage);
      EXPECT_EQ(string.exactCompare(before), 0);
    }
  }
  EXPECT_EQ(failures, 1U);
}

TYPED_TEST(StringWithoutMemory, OfUncountableLengthIsRefusedBeforeItAllocates) {
  const FailingAllocator allocator;
  EXPECT_THROW(TypeParam(0xFFFFFFFFU, CharOf<TypeParam>()), OutOfRange);
  EXPECT_THAT(allocator.sizes(), IsEmpty());
}

TYPED_TEST(StringWithoutMemory,
           OfARangeOfMoreCharactersThanCanBeCountedIsRefusedBeforeItAllocates) {
  using Range = ReservedRange<CharOf<TypeParam>>;
  if (!Range::fits(0x100000000)) GTEST_SKIP() << "needs addresses of 64 bits";
  const Range range(0x100000000);
  const FailingAllocator allocator;
  EXPECT_THROW(TypeParam(range.begin(), range.end()), OutOfRange);
  EXPECT_THROW(TypeParam(range.begin(), range.end() + 1), OutOfRange);
  EXPECT_THAT(allocator.sizes(), IsEmpty());
}

TYPED_TEST(StringWithoutMemory, MovingFromAStringFailsWithBothAsTheyWere) {
  TypeParam source = FromAscii<TypeParam>("delta");
  TypeParam target = FromAscii<TypeParam>("old");
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(target = std::move(source), std::bad_alloc);
  EXPECT_EQ(ToAscii(source), "delta");  // NOLINT(bugprone-use-after-move): it was not moved.
  EXPECT_EQ(ToAscii(target), "old");
}

TYPED_TEST(StringWithoutMemory, AssigningToItselfNeedsNone) {
  TypeParam string = FromAscii<TypeParam>("delta");
  FailingAllocator allocator;
  TypeParam& same = string;
  string = same;
  EXPECT_THAT(allocator.sizes(), IsEmpty());
  EXPECT_EQ(ToAscii(string), "delta");
}

TYPED_TEST(StringWithoutMemory, ShrinkingThatCannotBeHadKeepsTheLargerStorage) {
  const TypeParam nothing;
  TypeParam string = FromAscii<TypeParam>("lighthouse");
  const std::uint32_t capacity = string.capacity();
  FailingAllocator allocator;
  allocator.FailFrom(1);
  string.erase(2);
  EXPECT_EQ(ToAscii(string), "li");
  string.replace(0, 2, nothing);
  EXPECT_EQ(ToAscii(string), "");
  string.clear(BufferStrategy::Release);
  string.freeString();
  EXPECT_EQ(string.capacity(), capacity);
  EXPECT_EQ(*string.c_str(), CharOf<TypeParam>());
}

TYPED_TEST(StringWithoutMemory, AppendingTakesExactStorageWhereTwiceThatIsRefused) {
  TypeParam string(100, static_cast<CharOf<TypeParam>>('a'));
  FailingAllocator allocator;
  allocator.FailCall(1);
  string += static_cast<CharOf<TypeParam>>('b');
  EXPECT_EQ(string.length(), 101U);
  EXPECT_EQ(string.capacity(), 101U);
  EXPECT_THAT(allocator.sizes(),
              ElementsAre(203 * sizeof(CharOf<TypeParam>), 102 * sizeof(CharOf<TypeParam>)));
}

/// A string that claims to be huge, over address space that nobody has to fill. Relies on the
/// three pointers that are the layout of every string.
template <typename S>
class HugeString {
 public:
  HugeString(std::uint32_t length, std::uint32_t capacity)
      : bytes_((std::size_t{capacity} + 1) * sizeof(CharOf<S>)),
        space_(mmap(nullptr, bytes_, PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
    if (space_ == MAP_FAILED) throw std::bad_alloc();
    auto* begin = static_cast<CharOf<S>*>(space_);
    CharOf<S>* const pointers[] = {begin, begin + length, begin + capacity};
    static_assert(sizeof(pointers) == sizeof(S));
    std::memcpy(object_, pointers, sizeof(pointers));
  }
  explicit HugeString(std::uint32_t length) : HugeString(length, length) {}
  HugeString(const HugeString&) = delete;
  HugeString& operator=(const HugeString&) = delete;
  // The string is never destroyed, for its storage was not allocated.
  ~HugeString() { munmap(space_, bytes_); }

  S& operator*() { return *std::launder(reinterpret_cast<S*>(object_)); }
  S* operator->() { return &**this; }

 private:
  std::size_t bytes_;
  void* space_;
  alignas(S) unsigned char object_[sizeof(S)];
};

constexpr std::size_t kHuge = std::size_t{1} << 30;

/// Refuses what is huge.
class HugeRequests : public testing::Test {
 protected:
  HugeRequests() { allocator_.FailSizesFrom(kHuge); }
  FailingAllocator allocator_;
};

/// The same for strings that are huge already; skips where the address space has no room for them.
class HugeStrings : public HugeRequests {
 protected:
  void SetUp() override {
    if (!ReservedRange<char>::fits(0x80000000)) GTEST_SKIP() << "needs addresses of 64 bits";
  }
};

TEST_F(HugeStrings, TheLargestLengthThatAppendingGrowsToIsOneBelowTwoToThe31) {
  HugeString<String> string(0x7FFFFFFEU);
  EXPECT_THROW(string->append(1, 'a'), std::bad_alloc);
  EXPECT_THAT(allocator_.sizes(), ElementsAre(0xFFFFFFFFU, 0x80000000U));
  EXPECT_EQ(string->length(), 0x7FFFFFFEU);
}

TEST_F(HugeStrings, AppendingToTwoToThe31CharactersThrowsOutOfRangeBeforeItAllocates) {
  HugeString<String> string(0x7FFFFFFFU);
  EXPECT_THROW(string->append(1, 'a'), OutOfRange);
  EXPECT_THAT(allocator_.sizes(), IsEmpty());
  EXPECT_EQ(string->length(), 0x7FFFFFFFU);
}

TEST_F(HugeStrings, AppendingWithinTheStorageIsNotLimited) {
  HugeString<String> string(0x80000000U, 0x80000001U);
  string->append(1, 'a');
  EXPECT_EQ(string->length(), 0x80000001U);
  EXPECT_THAT(allocator_.sizes(), IsEmpty());
}

TEST_F(HugeStrings, WideTextGrowsExactlyWhereTwiceItsBytesWouldNotFitIn32Bits) {
  HugeString<WString> string(0x1FFFFFFFU);
  EXPECT_THROW(string->append(1, L'a'), std::bad_alloc);
  EXPECT_THAT(allocator_.sizes(), ElementsAre(0x80000004U));
}

TEST_F(HugeStrings, WideTextGrowsTwofoldAsLongAsTheBytesFitIn32Bits) {
  HugeString<WString> string(0x1FFFFFFEU);
  EXPECT_THROW(string->append(1, L'a'), std::bad_alloc);
  EXPECT_THAT(allocator_.sizes(), ElementsAre(0xFFFFFFFCU, 0x80000000U));
}

TEST_F(HugeStrings, WideTextOf0x3FFFFFFFCharactersThrowsOutOfRangeBeforeItAllocates) {
  HugeString<WString> string(0x3FFFFFFEU);
  EXPECT_THROW(string->append(1, L'a'), OutOfRange);
  EXPECT_THROW(string->reserve(0x3FFFFFFFU), OutOfRange);
  EXPECT_THAT(allocator_.sizes(), IsEmpty());
}

TEST_F(HugeRequests, WideTextIsBuiltOfUpTo0x3FFFFFFECharacters) {
  EXPECT_THROW(WString(0x3FFFFFFFU, L'a'), OutOfRange);
  EXPECT_THAT(allocator_.sizes(), IsEmpty());
  EXPECT_THROW(WString(0x3FFFFFFEU, L'a'), std::bad_alloc);
  EXPECT_THAT(allocator_.sizes(), ElementsAre(0xFFFFFFFCU));
}

TEST_F(HugeRequests, NarrowTextIsBuiltOfUpTo0xFFFFFFFECharacters) {
  EXPECT_THROW(String(0xFFFFFFFEU, 'a'), std::bad_alloc);
  EXPECT_THAT(allocator_.sizes(), ElementsAre(0xFFFFFFFFU));
}

TEST_F(HugeStrings, ReplaceRefusesAResultOf0xFFFFFFFFCharacters) {
  HugeString<String> string(0x80000000U);
  HugeString<String> other(0x7FFFFFFFU);
  try {
    string->replace(0, 0, *other);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const BoundExceeded2& refusal) {
    EXPECT_STREQ(refusal.what(),
                 "A request was made that would exceed the bounds: Resulting string too large");
    EXPECT_STREQ(refusal.file(), "kit/StringBase.cpp");
  }
  EXPECT_EQ(string->length(), 0x80000000U);
}

TEST_F(HugeStrings, ReplaceRefusesAResultThatWraps) {
  HugeString<String> string(0xF0000000U);
  HugeString<String> other(0xF0000000U);
  EXPECT_THROW(string->replace(0, 0, *other), BoundExceeded2);
  EXPECT_THROW(string->replace(0, 0x10000000U, *other), BoundExceeded2);
  EXPECT_THROW(string->replace(0, 0, *string), BoundExceeded2);
}

TEST_F(HugeStrings, ReplaceAsksForStorageOf0xFFFFFFFECharacters) {
  HugeString<String> string(0x80000000U);
  HugeString<String> other(0x7FFFFFFFU);
  EXPECT_THROW(string->replace(5, 1, *other), std::bad_alloc);
  EXPECT_THAT(allocator_.sizes(), ElementsAre(0xFFFFFFFFU));
}

TEST_F(HugeStrings, StorageOfLessThanTwiceAHugeLengthDoesNotShrink) {
  HugeString<String> string(0x80000000U, 0xFFFFFFFEU);
  string->erase(0x80000000U, 0);
  EXPECT_THAT(allocator_.sizes(), IsEmpty());
  EXPECT_EQ(string->capacity(), 0xFFFFFFFEU);
}

TEST_F(HugeStrings, JoiningThrowsOutOfRangeWhereTheLengthWraps) {
  HugeString<String> string(0x80000000U);
  EXPECT_THROW(String(*string, *string), OutOfRange);
}

TEST_F(HugeStrings, SerializationSizeThrowsOutOfRangeWhereItWraps) {
  EXPECT_EQ(HugeString<String>(0xFFFFFFFBU)->serializationSize(), 0xFFFFFFFFU);
  EXPECT_THROW(HugeString<String>(0xFFFFFFFCU)->serializationSize(), OutOfRange);
  EXPECT_THROW(HugeString<Utf8String>(0xFFFFFFFCU)->serializationSize(), OutOfRange);
  EXPECT_EQ(HugeString<CountedString>(0xFFFFFFFAU)->serializationSize(), 0xFFFFFFFFU);
  EXPECT_THROW(HugeString<CountedString>(0xFFFFFFFBU)->serializationSize(), OutOfRange);
}

TEST_F(HugeStrings, ConvertingTextWhoseBoundDoesNotFitIn32BitsThrowsOutOfRange) {
  HugeString<WString> wide(0x40000000U);
  EXPECT_THROW(String{*wide}, OutOfRange);
  EXPECT_THAT(allocator_.sizes(), IsEmpty());
  wide->erase(0x3FFFFFFFU, 1, BufferStrategy::Keep);
  EXPECT_THROW(String{*wide}, std::bad_alloc);
  EXPECT_THAT(allocator_.sizes(), ElementsAre(0xFFFFFFFDU));
}

TEST(FailingAllocator, FailsTheNthCallAndNoOther) {
  FailingAllocator allocator;
  allocator.FailCall(2);
  EXPECT_NO_THROW(String("a"));
  EXPECT_THROW(String("bc"), std::bad_alloc);
  EXPECT_NO_THROW(String("def"));
  EXPECT_THAT(allocator.sizes(), ElementsAre(2U, 3U, 4U));
}

TEST(FailingAllocator, FailsFromTheNthCallOnUntilItRelents) {
  FailingAllocator allocator;
  allocator.FailFrom(2);
  EXPECT_NO_THROW(String("a"));
  EXPECT_THROW(String("b"), std::bad_alloc);
  EXPECT_THROW(String("c"), std::bad_alloc);
  allocator.Relent();
  EXPECT_NO_THROW(String("d"));
}

TEST(FailingAllocator, LetsEverythingPassOnceItIsGone) {
  { FailingAllocator().FailFrom(1); }
  EXPECT_NO_THROW(String("a"));
}

}  // namespace
