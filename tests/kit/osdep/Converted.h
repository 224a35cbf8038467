#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/WideToAnsi.h"

namespace qv::tests {

/// text through the allocating conversion to wide text.
inline std::wstring Wide(const std::string& text, const char* locale) {
  wchar_t* begin = nullptr;
  wchar_t* end = nullptr;
  kit::osdep::AnsiToWide(text.data(), text.data() + text.size(), locale, begin, end);
  const std::unique_ptr<wchar_t[]> owner(begin);
  EXPECT_EQ(*end, L'\0');
  return {begin, end};
}

/// text through the allocating conversion to narrow text.
inline std::string Narrow(const std::wstring& text, const char* locale) {
  char* begin = nullptr;
  char* end = nullptr;
  kit::osdep::WideToAnsi(text.data(), text.data() + text.size(), locale, begin, end);
  const std::unique_ptr<char[]> owner(begin);
  EXPECT_EQ(*end, '\0');
  return {begin, end};
}

}  // namespace qv::tests
