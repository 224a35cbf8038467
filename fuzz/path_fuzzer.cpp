#include <gtest/gtest.h>

#include <string>

#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "kit/StringBase.h"
#include "kit/exception/InvalidArgument.h"
#include "kit/osdep/path.h"
#include "tests/doubles/Text.h"
#include "tests/reference/NormalizePathReference.h"
#include "tests/reference/PathReference.h"

// Paths as names: any two texts, most of them made of slashes and dots.

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep::path;
using qv::fuzz::Input;
using qv::tests::Exactly;

/// A path of what paths are made of, up to the first byte that stands for the end of one.
std::wstring AnyPath(Input& input) {
  static const std::wstring letters(L"//////....aBb \0\u00E9", 16);
  constexpr unsigned kEnd = 0xFF;
  std::wstring path;
  while (!input.empty()) {
    const unsigned byte = input.byte();
    if (byte == kEnd) break;
    path += letters[byte % letters.size()];
  }
  return path;
}

WString Wide(const std::wstring& text) {
  return WString(text.data(), static_cast<std::uint32_t>(text.size()));
}

void CheckParts(const std::wstring& text) {
  const WString path = Wide(text);
  EXPECT_EQ(Exactly(DirName(path)), qv::tests::DirNameReference(text));
  EXPECT_EQ(Exactly(BaseName(path)), qv::tests::BaseNameReference(text));
  const bool isAbsolute = !text.empty() && text[0] == L'/';
  EXPECT_EQ(IsAbs(path), isAbsolute);
  EXPECT_EQ(IsPathAbsolute(text.c_str()), isAbsolute);
  EXPECT_EQ(Exactly(path), text);
}

void CheckNormalized(const std::wstring& text) {
  const std::wstring expected = qv::tests::NormalizePathReference(text);
  const WString normalized = NormalizePath(Wide(text));
  EXPECT_EQ(Exactly(normalized), expected);
  EXPECT_EQ(Exactly(NormalizePath(normalized)), expected) << "the second time";
}

void CheckSlashAtTheEnd(const std::wstring& text) {
  WString path = Wide(text);
  if (text.empty()) {
    EXPECT_THROW(MakePathEndInSlash(path), exception::InvalidArgument);
    return;
  }
  MakePathEndInSlash(path);
  EXPECT_EQ(Exactly(path), text.back() == L'/' ? text : text + L'/');
}

void CheckJoined(const std::wstring& a, const std::wstring& b) {
  const std::wstring expected = qv::tests::JoinReference(a, b);
  EXPECT_EQ(Exactly(Join(Wide(a), Wide(b))), expected);
  const auto narrow = [](const std::wstring& text) {
    return std::string(text.begin(), text.end());
  };
  const auto string = [&](const std::wstring& text) {
    return String(narrow(text).data(), static_cast<std::uint32_t>(text.size()));
  };
  EXPECT_EQ(Exactly(Join(string(a), string(b))), qv::tests::JoinReference(narrow(a), narrow(b)));
}

void CheckAbsolute(const std::wstring& text) {
  static const std::wstring current = Exactly(GetCWD());
  const std::wstring expected = text == L"." ? current : qv::tests::JoinReference(current, text);
  EXPECT_EQ(Exactly(AbsPath(Wide(text))), expected);
}

}  // namespace

extern "C" int QV_FUZZER(path)(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::wstring path = AnyPath(input);
  const std::wstring other = AnyPath(input);
  SCOPED_TRACE(testing::PrintToString(path) + " and " + testing::PrintToString(other));
  CheckParts(path);
  CheckNormalized(path);
  CheckSlashAtTheEnd(path);
  CheckJoined(path, other);
  CheckAbsolute(path);
  return 0;
}
