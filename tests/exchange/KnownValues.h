#pragma once

#include <climits>
#include <string>
#include <vector>

#include "kit/AutoBuffer.h"

namespace qv::tests {

/// A value under the name that a failure tells.
template <typename T>
struct Known {
  std::string name;
  T value;
};

/// A text that is long enough for three bytes of its length.
template <typename CharT>
std::basic_string<CharT> LongText() {
  std::basic_string<CharT> text;
  for (int i = 0; i != 70000; ++i)
    text += static_cast<CharT>('a' + i % 26);
  return text;
}

/// Characters of every number of bytes of UTF-8 that can be read, and what is none of Unicode's.
inline std::vector<Known<std::wstring>> KnownTexts() {
  return {{"empty", L""},
          {"ASCII", L"\t A~\x7F"},
          {"two bytes", L"\u0080\u00E9\u07FF"},
          {"three bytes", L"\u0800\u20AC\uFFFF"},
          {"astral", L"\U00010000\U0001F512\U0010FFFF"},
          {"zeros", std::wstring(L"\0a\0", 3)},
          {"byte order marks", L"\uFEFF\uFFFE"},
          {"lone surrogates", L"\xDFFF\xD800"},
          {"beyond Unicode", L"\x110000\x1FFFFF\x4000000\x7FFFFFFF"},
          {"long", LongText<wchar_t>()}};
}

inline std::vector<Known<std::string>> KnownBytes() {
  std::string everyByte;
  for (int byte = 0; byte <= UCHAR_MAX; ++byte)
    everyByte += static_cast<char>(byte);
  return {{"empty", ""},
          {"one zero", std::string(1, '\0')},
          {"ASCII", "narrow"},
          {"every byte", everyByte},
          {"no UTF-8", "\xFF\xC0\x80\xED"},
          {"long", LongText<char>()}};
}

inline kit::BufferWrapper Wrapped(const std::string& bytes) {
  return kit::BufferWrapper(bytes.data(), bytes.size());
}

}  // namespace qv::tests
