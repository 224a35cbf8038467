#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/Characters.h"
#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "kit/exception/InvalidLocale.h"
#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/WideToAnsi.h"
#include "tests/ExactBuffer.h"
#include "tests/ScopedLocale.h"
#include "tests/kit/osdep/Converted.h"
#include "tests/reference/EncodingReference.h"

// Conversions between encodings: any bytes and any characters, in encodings that are known, hard or
// made up, into any room.

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::fuzz::Input;
using qv::tests::Narrow;
using qv::tests::Wide;
using reference::Bytes;
using reference::Encoding;
using Values = std::vector<std::uint32_t>;

struct Named {
  const char* name;
  /// How the reference knows it.
  std::optional<Encoding> encoding;
  /// Whether every byte, and every character, converts without regard to its neighbours.
  bool bytesStandAlone;
  bool charactersStandAlone;
  /// Of the process meanwhile.
  const char* locale = "C";
};

constexpr Named kEncodings[] = {
    {"", Encoding::ascii, true, true},
    {"carbon", Encoding::ascii, true, true},
    {"US-ASCII", Encoding::ascii, true, true},
    {"ISO-8859-1", Encoding::latin1, true, true},
    {"UTF-8", Encoding::utf8, false, true},
    {"UTF-16LE", Encoding::utf16, false, true},
    {"ISO-8859-2", std::nullopt, true, true},
    {"ISO-8859-15", std::nullopt, true, true},
    {"WINDOWS-1252", std::nullopt, true, true},
    {"KOI8-R", std::nullopt, true, true},
    {"CP437", std::nullopt, true, true},
    {"EBCDIC-US", std::nullopt, true, true},
    {"EUC-KR", std::nullopt, false, true},
    {"EUC-JP", std::nullopt, false, true},
    {"SHIFT_JIS", std::nullopt, false, true},
    {"GBK", std::nullopt, false, true},
    {"GB18030", std::nullopt, false, true},
    {"BIG5", std::nullopt, false, true},
    {"UTF-7", std::nullopt, false, false},
    {"UTF-16", std::nullopt, false, false},
    {"UTF-32", std::nullopt, false, false},
    {"UCS-2", std::nullopt, false, false},
    {"CP1255", std::nullopt, false, false},
    {"CP1258", std::nullopt, false, false},
    {"TCVN", std::nullopt, false, false},
    {"TSCII", std::nullopt, false, false},
    {"BIG5-HKSCS", std::nullopt, false, false},
    {"EUC-JISX0213", std::nullopt, false, false},
    {"SHIFT_JISX0213", std::nullopt, false, false},
    {"ISO-2022-JP", std::nullopt, false, false},
    {"ISO-2022-JP-3", std::nullopt, false, false},
    {"ISO-2022-KR", std::nullopt, false, false},
    {"ISO-2022-CN-EXT", std::nullopt, false, false},
    {"IBM1364", std::nullopt, false, false},
    {"IBM1390", std::nullopt, false, false},
    {"ISO_6937", std::nullopt, false, false},
    {"ANSI_X3.110", std::nullopt, false, false},
    {"UNICODE", std::nullopt, false, false},
    {"no-such-encoding", std::nullopt, false, false},
    {"", Encoding::utf8, false, true, "C.UTF-8"},
    {"carbon", Encoding::utf8, false, true, "C.UTF-8"},
};

/// One of the list, or any text as its name.
Named AnyEncoding(Input& input, std::string& name) {
  const std::uint32_t chosen = input.below(64);
  if (chosen < std::size(kEncodings)) return kEncodings[chosen];
  name = input.text(input.below(32));
  name = name.substr(0, name.find('\0'));
  return {name.c_str(), std::nullopt, false, false};
}

bool IsKnown(const char* to, const char* from) {
  iconv_t descriptor = ::iconv_open(to, from);
  const bool isOpen = descriptor != reinterpret_cast<iconv_t>(-1);
  if (isOpen) ::iconv_close(descriptor);
  return isOpen;
}

/// The reserved name is that of no encoding; here it stands for the one of the process's locale.
const char* IconvName(const Named& encoding) {
  return std::string("carbon") == encoding.name ? "" : encoding.name;
}

template <typename Convert>
bool IsRefused(Convert convert) {
  try {
    convert();
    return false;
  } catch (const exception::InvalidLocale&) {
    return true;
  }
}

/// What a conversion wrote into so much room, and that it wrote nothing else.
template <typename ToT, typename FromT, typename Convert>
std::vector<ToT> Into(std::size_t room, const std::vector<FromT>& text, const char* locale,
                      Convert convert) {
  const ExactBuffer<FromT> input(text);
  ExactBuffer<ToT> out(room);
  std::fill(out.begin(), out.end(), ToT{'#'});
  ToT* end = out.end();
  const std::uint32_t count = convert(input.begin(), input.end(), locale, out.begin(), end);
  EXPECT_LE(count, room);
  EXPECT_EQ(end, out.begin() + count);
  EXPECT_TRUE(std::all_of(end, out.end(), [](ToT unit) { return unit == ToT{'#'}; }));
  return std::vector<ToT>(out.begin(), end);
}

std::vector<wchar_t> WideInto(std::size_t room, const std::string& bytes, const char* locale) {
  return Into<wchar_t>(room, std::vector<char>(bytes.begin(), bytes.end()), locale,
                       &AnsiToWideNoAlloc);
}

std::vector<char> NarrowInto(std::size_t room, const std::wstring& text, const char* locale) {
  return Into<char>(room, std::vector<wchar_t>(text.begin(), text.end()), locale,
                    &WideToAnsiNoAlloc);
}

void CheckToWide(const Named& encoding, const std::string& bytes, std::size_t room) {
  const char* const locale = encoding.name;
  const bool isKnown = IsKnown("UTF-32LE", IconvName(encoding));
  EXPECT_EQ(IsRefused([&] { WideInto(room, bytes, locale); }), !isKnown);
  EXPECT_EQ(IsRefused([&] { Wide(bytes, locale); }), !isKnown && !bytes.empty());
  if (!isKnown) return;

  const std::wstring whole = Wide(bytes, locale);
  const auto required =
      GetAnsiToWideRequiredBufferLength(bytes.data(), bytes.data() + bytes.size(), locale);
  EXPECT_EQ(required, bytes.size());
  const std::vector<wchar_t> unallocated = WideInto(required, bytes, locale);
  EXPECT_EQ(std::wstring(unallocated.begin(), unallocated.end()), whole);
  if (encoding.encoding) {
    const std::vector<wchar_t> cut = WideInto(room, bytes, locale);
    EXPECT_EQ(
        Values(cut.begin(), cut.end()),
        reference::DecodeLeniently(*encoding.encoding, Bytes(bytes.begin(), bytes.end()), room));
  }
  if (encoding.bytesStandAlone) {
    std::wstring pieces;
    for (const char byte : bytes)
      pieces += Wide(std::string(1, byte), locale);
    EXPECT_EQ(whole, pieces);
  }
}

void CheckToNarrow(const Named& encoding, const std::wstring& text, std::size_t room) {
  const char* const locale = encoding.name;
  const bool isKnown = IsKnown(IconvName(encoding), "UTF-32LE");
  EXPECT_EQ(IsRefused([&] { NarrowInto(room, text, locale); }), !isKnown);
  EXPECT_EQ(IsRefused([&] { Narrow(text, locale); }), !isKnown && !text.empty());
  if (!isKnown) return;

  const std::string whole = Narrow(text, locale);
  const auto required =
      GetWideToAnsiRequiredBufferLength(text.data(), text.data() + text.size(), locale);
  const std::vector<char> unallocated = NarrowInto(required, text, locale);
  EXPECT_EQ(std::string(unallocated.begin(), unallocated.end()), whole);
  if (encoding.encoding) {
    const std::vector<char> cut = NarrowInto(room, text, locale);
    EXPECT_EQ(
        Bytes(cut.begin(), cut.end()),
        reference::EncodeLeniently(*encoding.encoding, Values(text.begin(), text.end()), room));
  }
  if (encoding.charactersStandAlone) {
    std::string pieces;
    for (const wchar_t character : text)
      pieces += Narrow(std::wstring(1, character), locale);
    EXPECT_EQ(whole, pieces);
  }
}

}  // namespace

extern "C" int QV_FUZZER(iconv)(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  std::string name;
  const Named encoding = AnyEncoding(input, name);
  const ScopedLocale locale(encoding.locale);
  const std::size_t room = input.byte();
  const std::string bytes = input.rest();
  const std::vector<wchar_t> characters = qv::fuzz::CharactersOf(bytes);
  SCOPED_TRACE(std::string("encoding ") + encoding.name + ", room " + std::to_string(room));
  CheckToWide(encoding, bytes, room);
  CheckToNarrow(encoding, std::wstring(characters.begin(), characters.end()), room);
  return 0;
}
