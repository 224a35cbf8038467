#include "kit/osdep/Latin1.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "kit/exception/InvalidLocale.h"
#include "kit/exception/PosixError.h"
#include "tests/ExactBuffer.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;

std::string Narrow(const std::wstring& text, std::size_t room, const char* locale = "") {
  const ExactBuffer<wchar_t> input(std::vector<wchar_t>(text.begin(), text.end()));
  ExactBuffer<char> out(room);
  char* end = out.end();
  EXPECT_EQ(Latin1WideToAnsi(input.begin(), input.end(), locale, out.begin(), end), text.size());
  return {out.begin(), end};
}

std::wstring Wide(const std::string& text, std::size_t room, const char* locale = "") {
  const ExactBuffer<char> input(std::vector<char>(text.begin(), text.end()));
  ExactBuffer<wchar_t> out(room);
  wchar_t* end = out.end();
  EXPECT_EQ(Latin1AnsiToWide(input.begin(), input.end(), locale, out.begin(), end), text.size());
  return {out.begin(), end};
}

TEST(Latin1WideToAnsi, EachCharacterBelow256IsThatByte) {
  for (int value = 0; value < 256; ++value) {
    EXPECT_EQ(Narrow({static_cast<wchar_t>(value)}, 1), std::string(1, static_cast<char>(value)));
  }
}

TEST(Latin1WideToAnsi, EveryOtherCharacterIsAQuestionMark) {
  for (const std::uint32_t value : {0x100U, 0x20ACU, 0x10FFFFU, 0x80000041U, 0xFFFFFFFFU}) {
    EXPECT_EQ(Narrow(std::wstring{L'a', static_cast<wchar_t>(value)}, 2), "a?");
  }
}

TEST(Latin1AnsiToWide, EachByteIsTheCharacterOfItsUnsignedValue) {
  for (int value = 0; value < 256; ++value) {
    EXPECT_EQ(Wide(std::string(1, static_cast<char>(value)), 1),
              std::wstring(1, static_cast<wchar_t>(value)));
  }
}

TEST(Latin1, MovesTheEndOfTheOutputAndWritesNoTerminator) {
  EXPECT_EQ(Narrow(L"ab", 5), "ab");
  EXPECT_EQ(Wide("ab", 5), L"ab");
  EXPECT_EQ(Narrow(L"", 0), "");
  EXPECT_EQ(Wide("", 0), L"");
}

TEST(Latin1, AcceptsTheEmptyNameAndUsAscii) {
  EXPECT_EQ(Narrow(L"\u00E9", 1, "US-ASCII"), "\xE9");
  EXPECT_EQ(Wide("\xE9", 1, "US-ASCII"), L"\u00E9");
}

TEST(Latin1, AnyOtherNameThrowsInvalidLocale) {
  for (const char* name : {"us-ascii", "US-ASCII2", "US", "UTF-8", "ISO-8859-1", "carbon"}) {
    EXPECT_THROW(Narrow(L"a", 1, name), exception::InvalidLocale) << name;
    EXPECT_THROW(Wide("a", 1, name), exception::InvalidLocale) << name;
    EXPECT_THROW(Narrow(L"", 0, name), exception::InvalidLocale) << name;
    EXPECT_THROW(Wide("", 0, name), exception::InvalidLocale) << name;
  }
}

template <typename Convert>
void ExpectPosixErrorFromErrno(int code, const Convert& convert) {
  errno = code;
  try {
    convert();
    FAIL();
  } catch (const PosixError& e) {
    EXPECT_EQ(e.whatcode(), static_cast<std::uint32_t>(code));
    EXPECT_STREQ(e.what(), std::strerror(code));
    EXPECT_STREQ(e.file(), "kit/osdep/Latin1.cpp");
  }
}

TEST(Latin1, AFullOutputThrowsPosixErrorFromWhateverErrnoHolds) {
  const wchar_t wide[] = {L'a', L'b'};
  const char narrow[] = {'a', 'b'};
  for (const int code : {0, ENOENT, E2BIG, EACCES}) {
    ExpectPosixErrorFromErrno(code, [&wide] {
      char out[1];
      char* end = out + 1;
      Latin1WideToAnsi(wide, wide + 2, "", out, end);
    });
    ExpectPosixErrorFromErrno(code, [&narrow] {
      wchar_t out[1];
      wchar_t* end = out + 1;
      Latin1AnsiToWide(narrow, narrow + 2, "US-ASCII", out, end);
    });
  }
}

}  // namespace
