#include "kit/osdep/WideToAnsi.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kit/exception/InvalidLocale.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;

std::string Narrow(const std::wstring& text, const char* locale) {
  char* begin = nullptr;
  char* end = nullptr;
  WideToAnsi(text.data(), text.data() + text.size(), locale, begin, end);
  const std::unique_ptr<char[]> owner(begin);
  EXPECT_EQ(*end, '\0');
  return {begin, end};
}

TEST(WideToAnsi, ACharacterThatTheEncodingLacksIsASingleQuestionMark) {
  EXPECT_EQ(Narrow(L"a\u20ACb", "ISO-8859-1"), "a?b");
}

TEST(WideToAnsi, AnUnknownEncodingThrowsInvalidLocale) {
  EXPECT_THROW(Narrow(L"a", "no-such-encoding"), exception::InvalidLocale);
}

}  // namespace
