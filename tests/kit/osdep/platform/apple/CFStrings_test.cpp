#include "kit/osdep/platform/apple/CFStrings.h"

#include <gmock/gmock.h>

#include <limits>
#include <new>

#include "kit/exception/OutOfRange.h"
#include "kit/osdep/platform/apple/CFOwner.h"
#include "tests/doubles/Text.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep;
using qv::kit::WString;
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

TEST_F(CFStringsTest, ALengthThatCannotBeCountedThrowsAndLeaksNothing) {
  const CFOwner<CFURLRef> url = urlOf(L"/a");
  foundation_.claimLength(std::numeric_limits<CFIndex>::max());
  EXPECT_THROW(CFURLToFilePath(url.get(), kCFURLPOSIXPathStyle), qv::kit::exception::OutOfRange);
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

TEST_F(CFStringsTest, AUrlGivesItsPathInTheStyleAskedFor) {
  const CFOwner<CFURLRef> url = urlOf(L"/a/\u00E9");
  EXPECT_EQ(Exactly(CFURLToFilePath(url.get(), kCFURLPOSIXPathStyle)), L"/a/\u00E9");
  EXPECT_THAT(foundation_.calls(), Contains("CFURLCopyFileSystemPath /a/\u00E9 0"));
}

TEST_F(CFStringsTest, AUrlWithoutAPathGivesNothing) {
  const CFOwner<CFURLRef> url = urlOf(L"/a");
  foundation_.fail("CFURLCopyFileSystemPath");
  EXPECT_EQ(Exactly(CFURLToFilePath(url.get(), kCFURLPOSIXPathStyle)), L"");
}

}  // namespace
