// How iconv is called, and what becomes of its failures. All three functions of iconv go through
// this file.
#include "kit/osdep/IConv.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kit/StringBase.h"
#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/GetCommonAppDataDirectory.h"
#include "kit/osdep/GetHostName.h"
#include "kit/osdep/WideToAnsi.h"
#include "tests/ScopedLocale.h"
#include "tests/TestLocale.h"
#include "tests/doubles/Text.h"
#include "tests/kit/AsciiText.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using testing::ElementsAre;

struct Step {
  int error;             // errno of the failure, 0 for success
  std::size_t consumed;  // bytes of input that are gone then
  std::string written;   // bytes of output that are there then
};

struct Calls {
  std::vector<std::string> opened;
  int openError = 0;
  int closed = 0;
  bool scripted = false;
  std::vector<Step> steps;
  std::vector<std::pair<std::size_t, std::size_t>> calls;  // input and output bytes left
};

Calls g_iconv;

}  // namespace

extern "C" {

iconv_t __real_iconv_open(const char* to, const char* from);
std::size_t __real_iconv(iconv_t, char** in, std::size_t* inLeft, char** out, std::size_t* outLeft);
int __real_iconv_close(iconv_t);

iconv_t __wrap_iconv_open(const char* to, const char* from) {
  g_iconv.opened.push_back(std::string(from) + " > " + to);
  if (g_iconv.openError != 0) {
    errno = g_iconv.openError;
    return reinterpret_cast<iconv_t>(-1);
  }
  return __real_iconv_open(to, from);
}

std::size_t __wrap_iconv(iconv_t descriptor, char** in, std::size_t* inLeft, char** out,
                         std::size_t* outLeft) {
  g_iconv.calls.emplace_back(*inLeft, *outLeft);
  if (!g_iconv.scripted) return __real_iconv(descriptor, in, inLeft, out, outLeft);
  const Step step = g_iconv.steps.at(g_iconv.calls.size() - 1);
  *out = std::copy(step.written.begin(), step.written.end(), *out);
  *outLeft -= step.written.size();
  *in += step.consumed;
  *inLeft -= step.consumed;
  errno = step.error;
  return step.error == 0 ? 0 : static_cast<std::size_t>(-1);
}

int __wrap_iconv_close(iconv_t descriptor) {
  ++g_iconv.closed;
  return __real_iconv_close(descriptor);
}

}  // extern "C"

namespace {

std::string NarrowInto(std::size_t room, const std::wstring& text, const std::vector<Step>& steps) {
  g_iconv.scripted = true;
  g_iconv.steps = steps;
  std::vector<char> out(room);
  char* end = out.data() + room;
  IConv(text.data(), text.data() + text.size(), kWideEncoding, out.data(), end, "UTF-8");
  return {out.data(), end};
}

std::wstring WideInto(std::size_t room, const std::string& text, const std::vector<Step>& steps) {
  g_iconv.scripted = true;
  g_iconv.steps = steps;
  std::vector<wchar_t> out(room);
  wchar_t* end = out.data() + room;
  IConv(text.data(), text.data() + text.size(), "UTF-8", out.data(), end, kWideEncoding);
  return {out.data(), end};
}

class GermanLocale {
 public:
  GermanLocale() {
    qv::tests::UseTestLocales();
    locale_.emplace("de_DE.ISO-8859-1");
  }

 private:
  std::optional<ScopedLocale> locale_;
};

class IConvCalls : public testing::Test {
 protected:
  IConvCalls() { g_iconv = {}; }
};

/// The process has a locale whose encoding only iconv knows.
class IConvOfTheLocale : public IConvCalls {
 private:
  const GermanLocale locale_;
};

TEST_F(IConvCalls, EachConversionOpensAndClosesADescriptorOfItsOwn) {
  const char letter[] = "a";
  const std::unique_ptr<wchar_t[]> wide(AnsiToWide(letter, letter + 1, "KOI8-R"));
  const std::unique_ptr<char[]> narrow(WideToAnsi(L"a", "SHIFT_JIS"));
  EXPECT_THAT(g_iconv.opened, ElementsAre("KOI8-R > UTF-32LE", "UTF-32LE > SHIFT_JIS"));
  EXPECT_EQ(g_iconv.closed, 2);
}

TEST_F(IConvCalls, WhateverIconvOpenFailsForIsInvalidLocaleAndNothingIsClosed) {
  for (const int error : {EINVAL, ENOMEM, EMFILE, ENFILE}) {
    g_iconv.openError = error;
    EXPECT_THROW(NarrowInto(4, L"a", {}), exception::InvalidLocale);
    EXPECT_THROW(WideInto(4, "a", {}), exception::InvalidLocale);
  }
  EXPECT_EQ(g_iconv.closed, 0);
  EXPECT_TRUE(g_iconv.calls.empty());
}

TEST_F(IConvOfTheLocale, WhenItFailsLeavesTheHostNameLocalhost) {
  g_iconv.openError = EINVAL;
  EXPECT_EQ(qv::tests::Exactly(GetHostName(false)), L"localhost");
  EXPECT_EQ(qv::tests::Exactly(GetHostName(true)), L"localhost");
  EXPECT_EQ(g_iconv.opened.size(), 2U);
}

TEST_F(IConvOfTheLocale, WhenItFailsLeavesTheDataDirectoryWhereItIsWithoutTheEnvironment) {
  ::setenv("QVPUBAPPDATADIR", "/srv/data", 1);
  g_iconv.openError = EINVAL;
  EXPECT_EQ(qv::tests::Exactly(GetCommonAppDataDirectory()), L"/var/lib/kestrix");
  EXPECT_EQ(g_iconv.opened.size(), 1U);
  ::unsetenv("QVPUBAPPDATADIR");
}

TEST_F(IConvCalls, AreNotMadeForAsciiInALocaleOfAsciiOrUtf8) {
  for (const char* const name : {"C", "C.UTF-8"}) {
    const ScopedLocale locale(name);
    EXPECT_EQ(qv::tests::ToAscii(String(L"/var/lib/a")), "/var/lib/a");
    EXPECT_EQ(qv::tests::ToAscii(WString("/var/lib/a")), "/var/lib/a");
    EXPECT_THAT(g_iconv.opened, testing::IsEmpty());
  }
}

TEST_F(IConvCalls, AreMadeFromTheFirstCharacterOnThatIsNotAscii) {
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_STREQ(String(L"/var/\u00E9t\u00E9").c_str(), "/var/\xC3\xA9t\xC3\xA9");
  EXPECT_STREQ(WString("/var/\xC3\xA9t\xC3\xA9").c_str(), L"/var/\u00E9t\u00E9");
  EXPECT_THAT(g_iconv.opened, ElementsAre("UTF-32LE > ", " > UTF-32LE"));
  EXPECT_THAT(g_iconv.calls, ElementsAre(std::pair(12, 27), std::pair(5, 20)));
}

TEST_F(IConvOfTheLocale, IsAskedForAsciiWhereAnotherEncodingIsTheLocales) {
  EXPECT_EQ(qv::tests::ToAscii(String(L"a")), "a");
  EXPECT_EQ(qv::tests::ToAscii(WString("a")), "a");
  EXPECT_EQ(g_iconv.opened.size(), 2U);
}

TEST_F(IConvCalls, StopsAtTheFirstSuccess) {
  EXPECT_EQ(NarrowInto(8, L"ab", {{0, 4, "a"}}), "a");
  EXPECT_THAT(g_iconv.calls, ElementsAre(std::pair(8, 8)));
  EXPECT_EQ(g_iconv.closed, 1);
}

TEST_F(IConvCalls, ANumberOfLossyConversionsIsSuccess) {
  EXPECT_EQ(NarrowInto(8, L"ab", {{0, 8, "xy"}}), "xy");
}

TEST_F(IConvCalls, NoInputAndNoRoomCallNothing) {
  EXPECT_EQ(NarrowInto(8, L"", {}), "");
  EXPECT_EQ(NarrowInto(0, L"a", {}), "");
  EXPECT_EQ(WideInto(0, "a", {}), L"");
  EXPECT_TRUE(g_iconv.calls.empty());
  EXPECT_EQ(g_iconv.closed, 3);
}

TEST_F(IConvCalls, AFailureSkipsFourBytesOfWideTextAndOneByteOfRoom) {
  EXPECT_EQ(NarrowInto(8, L"abc", {{EILSEQ, 4, "a"}, {0, 4, "c"}}), "a?c");
  EXPECT_THAT(g_iconv.calls, ElementsAre(std::pair(12, 8), std::pair(4, 6)));
}

TEST_F(IConvCalls, AFailureSkipsOneByteOfNarrowTextAndFourBytesOfRoom) {
  const std::string c("c\0\0\0", 4);
  EXPECT_EQ(WideInto(4, "abc", {{EILSEQ, 1, ""}, {0, 1, c}}), L"?c");
  EXPECT_THAT(g_iconv.calls, ElementsAre(std::pair(3, 16), std::pair(1, 12)));
}

TEST_F(IConvCalls, EveryKindOfFailureIsTreatedAlike) {
  for (const int error : {EILSEQ, EINVAL, E2BIG, EBADF}) {
    g_iconv.calls.clear();
    EXPECT_EQ(NarrowInto(8, L"ab", {{error, 0, ""}, {0, 4, "b"}}), "?b") << error;
  }
}

TEST_F(IConvCalls, AFailureWithinAUnitSkipsWhatIsLeftOfTheLastOne) {
  EXPECT_EQ(NarrowInto(8, L"ab", {{EILSEQ, 6, "a"}}), "a?");
  EXPECT_EQ(g_iconv.calls.size(), 1U);
}

TEST_F(IConvCalls, AFailureWithAllInputUsedStops) {
  EXPECT_EQ(NarrowInto(8, L"ab", {{EINVAL, 8, "ab"}}), "ab");
}

TEST_F(IConvCalls, AFailureWithAllRoomUsedStops) {
  EXPECT_EQ(NarrowInto(2, L"abc", {{E2BIG, 8, "ab"}}), "ab");
}

TEST_F(IConvCalls, AQuestionMarkThatTakesTheLastOfTheRoomEndsTheConversion) {
  EXPECT_EQ(NarrowInto(2, L"abc", {{EILSEQ, 4, "a"}}), "a?");
  EXPECT_EQ(g_iconv.calls.size(), 1U);
}

TEST_F(IConvCalls, AQuestionMarkForTheLastOfTheInputEndsTheConversion) {
  EXPECT_EQ(NarrowInto(8, L"ab", {{EILSEQ, 4, "a"}}), "a?");
  EXPECT_EQ(g_iconv.calls.size(), 1U);
}

/// The strings that iconv converts for: String stands for both narrow forms, as WString does for
/// the wide one.
template <typename S>
class StringOverIConv : public testing::Test {
 protected:
  using Other = std::conditional_t<std::is_same_v<S, WString>, char, wchar_t>;
  using OtherString = std::conditional_t<std::is_same_v<S, WString>, String, WString>;

  void SetUp() override { g_iconv = {}; }

  const GermanLocale locale_;
  const Other text_[2] = {Other{'a'}, Other{}};
  const OtherString string_{text_, 1};
};

using Converting = testing::Types<WString, String, CountedString>;
TYPED_TEST_SUITE(StringOverIConv, Converting);

TYPED_TEST(StringOverIConv, ThrowsInvalidLocaleFromEveryConversionAndChangesNothing) {
  using S = TypeParam;
  const auto* text = this->text_;
  const auto& other = this->string_;
  const std::pair<const char*, std::function<void(S&)>> operations[] = {
      {"construction", [&](S&) { S{text}; }},
      {"construction from a range",
       [&](S&) {
         S{text, text + 1};
       }},
      {"construction from a string", [&](S&) { S{other}; }},
      {"construction from text and a string", [&](S& s) { S(s.c_str(), other); }},
      {"assignment", [&](S& s) { s = text; }},
      {"assignment of a string", [&](S& s) { s = other; }},
      {"append", [&](S& s) { s.append(text); }},
      {"addition", [&](S& s) { s += text; }},
      {"sum", [&](S& s) { s + text; }},
  };
  g_iconv.openError = EINVAL;
  for (const auto& [name, operation] : operations) {
    SCOPED_TRACE(name);
    S string = qv::tests::FromAscii<S>("quay");
    const std::uint32_t capacity = string.capacity();
    try {
      operation(string);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const exception::InvalidLocale& refusal) {
      EXPECT_STREQ(refusal.what(), "Invalid locale");
    }
    EXPECT_EQ(qv::tests::ToAscii(string), "quay");
    EXPECT_EQ(string.capacity(), capacity);
  }
}

TYPED_TEST(StringOverIConv, NeverOpensItForEmptyText) {
  using S = TypeParam;
  const auto* null = static_cast<decltype(&this->text_[0])>(nullptr);
  const auto* empty = this->text_ + 1;
  const typename TestFixture::OtherString emptyString;
  S string = qv::tests::FromAscii<S>("quay");
  EXPECT_EQ(S(null).capacity(), 0U);
  EXPECT_EQ(S(empty).capacity(), 0U);
  EXPECT_EQ(S(empty, empty).capacity(), 0U);
  EXPECT_EQ(S(emptyString).capacity(), 0U);
  EXPECT_EQ(qv::tests::ToAscii(S(string.c_str(), emptyString)), "quay");
  EXPECT_EQ(qv::tests::ToAscii(string + empty), "quay");
  string.append(empty);
  string += null;
  EXPECT_EQ(qv::tests::ToAscii(string), "quay");
  string = empty;
  string = null;
  string = emptyString;
  EXPECT_EQ(qv::tests::ToAscii(string), "");
  EXPECT_THAT(g_iconv.opened, testing::IsEmpty());
}

}  // namespace
