#include "kit/osdep/AnsiToWide.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kit/exception/InvalidLocale.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;

std::wstring Wide(const std::string& text, const char* locale) {
  wchar_t* begin = nullptr;
  wchar_t* end = nullptr;
  AnsiToWide(text.data(), text.data() + text.size(), locale, begin, end);
  const std::unique_ptr<wchar_t[]> owner(begin);
  EXPECT_EQ(*end, L'\0');
  return {begin, end};
}

TEST(AnsiToWide, ConvertsFromTheNamedEncoding) {
  EXPECT_EQ(Wide("\xC3\xA9x", "UTF-8"), L"\u00E9x");
  EXPECT_EQ(Wide("\xC3\xA9x", "ISO-8859-1"), L"\u00C3\u00A9x");
}

TEST(AnsiToWide, AnUnknownEncodingThrowsInvalidLocale) {
  EXPECT_THROW(Wide("a", "no-such-encoding"), exception::InvalidLocale);
}

}  // namespace
