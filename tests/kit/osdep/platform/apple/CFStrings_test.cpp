#include "kit/osdep/platform/apple/CFStrings.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>

#include "kit/exception/OutOfRange.h"
#include "kit/osdep/platform/apple/CFOwner.h"
#include "tests/doubles/Text.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep;
using qv::kit::WString;
using qv::kit::exception::OutOfRange;
using qv::tests::Exactly;
using testing::Contains;
using testing::ElementsAre;

class CFStringsTest : public qv::tests::AppleTest {
 protected:
  /// What CFStringToString makes of these UTF-16 units.
  std::wstring convert(const std::u16string& units) {
    return Exactly(CFStringToString(CFOwner<CFStringRef>(foundation_.makeString(units)).get()));
  }

  CFOwner<CFURLRef> urlOf(const WString& path) {
    const CFOwner<CFStringRef> text(StringToCFString(path));
    return CFOwner<CFURLRef>(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.get(),
                                                           kCFURLPOSIXPathStyle, false));
  }
};

TEST_F(CFStringsTest, AnEmptyStringComesOutEmptyWithoutAskingForItsBytes) {
  EXPECT_EQ(convert(u""), L"");
  EXPECT_FALSE(called("CFStringGetBytes"));
}

TEST_F(CFStringsTest, AStringOfNegativeLengthComesOutEmpty) {
  foundation_.claimLength(-1);
  EXPECT_EQ(convert(u"abc"), L"");
  EXPECT_FALSE(called("CFStringGetBytes"));
}

TEST_F(CFStringsTest, CharactersComeOutAsTheyAre) {
  EXPECT_EQ(convert(u"Abc \u00E9\u20AC"), L"Abc \u00E9\u20AC");
  EXPECT_EQ(convert(std::u16string(u"a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST_F(CFStringsTest, BytesAreAskedForInUtf32WithoutALossByteAndFourForEachUnit) {
  convert(u"abc");
  EXPECT_THAT(foundation_.calls(), Contains("CFStringGetBytes 469762304 0 12"));
}

TEST_F(CFStringsTest, ACharacterOfTwoUnitsIsOneCharacter) {
  EXPECT_EQ(convert(u"a\U0001F600b"), L"a\U0001F600b");
  EXPECT_EQ(convert(u"\U0010FFFF"), L"\U0010FFFF");
}

TEST_F(CFStringsTest, ConversionEndsAtHalfACharacter) {
  EXPECT_EQ(convert({u'a', char16_t{0xD800}, u'b'}), L"a");
  EXPECT_EQ(convert({char16_t{0xDC00}}), L"");
}

TEST_F(CFStringsTest, NoPartOfACharacterCounts) {
  for (const CFIndex more : {1, 2, 3}) {
    foundation_.claimMoreBytes(more);
    EXPECT_EQ(convert(u"a\U0001F600"), L"a\U0001F600");
  }
}

TEST_F(CFStringsTest, WithoutAnyBytesThereIsNoText) {
  foundation_.fail("CFStringGetBytes");
  EXPECT_EQ(convert(u"abc"), L"");
}

TEST_F(CFStringsTest, ALengthThatAStringCannotHaveThrows) {
  const CFOwner<CFStringRef> string(foundation_.makeString(u"abc"));
  foundation_.claimLength(std::numeric_limits<CFIndex>::max());
  EXPECT_THROW(CFStringToString(string.get()), OutOfRange);
}

TEST_F(CFStringsTest, ALengthIsNeverCutTo32Bits) {
  const CFOwner<CFStringRef> string(foundation_.makeString(u"abc"));
  for (const std::int64_t length :
       std::initializer_list<std::int64_t>{0x80000000, 0xFFFFFFFF, 0x100000000, 0x100000003}) {
    if (length > std::numeric_limits<CFIndex>::max()) GTEST_SKIP() << "needs lengths of 64 bits";
    foundation_.claimLength(static_cast<CFIndex>(length));
    EXPECT_THROW(CFStringToString(string.get()), OutOfRange) << length;
  }
}

TEST_F(CFStringsTest, APathOfSuchALengthIsReleased) {
  const CFOwner<CFURLRef> url = urlOf(L"/a");
  foundation_.claimLength(std::numeric_limits<CFIndex>::max());
  EXPECT_THROW(CFURLToFilePath(url.get(), kCFURLPOSIXPathStyle), OutOfRange);
  EXPECT_EQ(foundation_.references(), 1);
}

TEST_F(CFStringsTest, StringsGoInAsUtf32) {
  const CFOwner<CFStringRef> string(StringToCFString(L"a\u00E9\U0001F600"));
  EXPECT_THAT(foundation_.calls(), ElementsAre("CFStringCreateWithBytes 12 469762304"));
  EXPECT_EQ(CFStringGetLength(string.get()), 4);
  EXPECT_EQ(Exactly(CFStringToString(string.get())), L"a\u00E9\U0001F600");
}

TEST_F(CFStringsTest, AnEmptyStringGoesInEmpty) {
  const CFOwner<CFStringRef> string(StringToCFString(L""));
  ASSERT_NE(string, nullptr);
  EXPECT_EQ(CFStringGetLength(string.get()), 0);
}

TEST_F(CFStringsTest, EmbeddedZeroCharactersGoIn) {
  const CFOwner<CFStringRef> string(StringToCFString(WString(L"a\0b", 3)));
  EXPECT_EQ(CFStringGetLength(string.get()), 3);
}

TEST_F(CFStringsTest, WhatIsNoCharacterDoesNotGoIn) {
  EXPECT_EQ(StringToCFString(WString(1, static_cast<wchar_t>(0x110000))), nullptr);
}

TEST_F(CFStringsTest, WhereNoStringCanBeMadeNoneGoesIn) {
  foundation_.fail("CFStringCreateWithBytes");
  EXPECT_EQ(StringToCFString(L"abc"), nullptr);
}

TEST_F(CFStringsTest, AUrlGivesItsPathInTheStyleAskedFor) {
  const CFOwner<CFURLRef> url = urlOf(L"/a/\u00E9");
  EXPECT_EQ(Exactly(CFURLToFilePath(url.get(), kCFURLPOSIXPathStyle)), L"/a/\u00E9");
  EXPECT_THAT(foundation_.calls(), Contains("CFURLCopyFileSystemPath /a/\u00E9 0"));
}

TEST_F(CFStringsTest, AUrlGivesNothingWhereACallForItsPathFails) {
  const CFOwner<CFURLRef> url = urlOf(L"/a");
  const int calls = withEachCallFailing([&] {
    const WString path = CFURLToFilePath(url.get(), kCFURLPOSIXPathStyle);
    EXPECT_EQ(path.empty(), hasFailed());
  });
  EXPECT_EQ(calls, 2) << "a string and its bytes";
}

}  // namespace
