#include <iconv.h>

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <string>
#include <type_traits>

#include "bench/Bench.h"
#include "kit/StringBase.h"
#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/IConv.h"
#include "kit/osdep/IntegerToString.h"
#include "kit/osdep/WideToAnsi.h"

namespace qv::bench {
namespace {

using kit::String;
using kit::WString;
using kit::osdep::kWideEncoding;

const std::wstring kPath = L"/usr/local/share/certificates/server.pem";

/// So many characters, or a few more.
std::wstring Japanese(std::size_t length) {
  std::wstring text;
  while (text.size() < length)
    text += L"証明書 certificate, 秘密鍵 private key: 一度だけ作られます。\n";
  return text;
}

/// What converting takes at least: iconv, opened and closed, and room that is large enough.
template <typename From, typename To>
std::size_t Convert(const From* text, std::size_t length, const char* from, To* out,
                    std::size_t room, const char* to) {
  iconv_t descriptor = ::iconv_open(to, from);
  char* in = const_cast<char*>(reinterpret_cast<const char*>(text));
  std::size_t inLeft = length * sizeof(From);
  char* written = reinterpret_cast<char*>(out);
  std::size_t roomLeft = room * sizeof(To);
  ::iconv(descriptor, &in, &inLeft, &written, &roomLeft);
  ::iconv_close(descriptor);
  return room - roomLeft / sizeof(To);
}

void BareIconv(benchmark::State& state, const std::wstring& text, const char* encoding) {
  std::string narrow(4 * text.size(), '\0');
  std::wstring back(text.size(), L'\0');
  for (auto _ : state) {
    const std::size_t length =
        Convert(text.data(), text.size(), kWideEncoding, narrow.data(), narrow.size(), encoding);
    Convert(narrow.data(), length, encoding, back.data(), back.size(), kWideEncoding);
    benchmark::ClobberMemory();
  }
  Require(back == text);
}

template <const char* locale>
void Path(benchmark::State& state) {
  std::setlocale(LC_ALL, locale);
  const WString path(kPath.c_str());
  for (auto _ : state) {
    const String narrow(path);
    const WString back(narrow);
    benchmark::DoNotOptimize(back.begin());
  }
  Require(WString(String(path)).exactCompare(path) == 0);
  std::setlocale(LC_ALL, "C");
}

template <const char* locale>
void PathByIconv(benchmark::State& state) {
  std::setlocale(LC_ALL, locale);
  BareIconv(state, kPath, "");
  std::setlocale(LC_ALL, "C");
}

constexpr char kC[] = "C";
constexpr char kUtf8[] = "C.UTF-8";
constexpr char kLegacy[] = "EUC-JP";
constexpr std::size_t kLegacyMegabyte = 600'000;  // characters, on the average

void ConvertLegacy(benchmark::State& state, const std::wstring& text) {
  std::string narrow(4 * text.size(), '\0');
  std::wstring back(text.size(), L'\0');
  for (auto _ : state) {
    char* narrowEnd = narrow.data() + narrow.size();
    wchar_t* backEnd = back.data() + back.size();
    kit::osdep::WideToAnsiNoAlloc(text.data(), text.data() + text.size(), kLegacy, narrow.data(),
                                  narrowEnd);
    kit::osdep::AnsiToWideNoAlloc(narrow.data(), narrowEnd, kLegacy, back.data(), backEnd);
    benchmark::ClobberMemory();
  }
  Require(back == text);
}

void Legacy(benchmark::State& state) {
  ConvertLegacy(state, Japanese(kLegacyMegabyte));
}

void LegacyCharacters(benchmark::State& state) {
  ConvertLegacy(state, Japanese(static_cast<std::size_t>(state.range(0))));
}

void LegacyByIconv(benchmark::State& state) {
  BareIconv(state, Japanese(kLegacyMegabyte), kLegacy);
}

// Integers as text in a base. In bases other than 10 a negative number has the bits of its own
// width.

struct Decimal {
  static constexpr int kBase = 10;
  WString operator()(std::int8_t value) const { return kit::osdep::Int8ToString(value, 10); }
  WString operator()(std::int16_t value) const { return kit::osdep::Int16ToString(value, 10); }
  WString operator()(std::int32_t value) const { return kit::osdep::Int32ToString(value, 10); }
  WString operator()(std::int64_t value) const { return kit::osdep::Int64ToString(value, 10); }
  WString operator()(std::uint8_t value) const { return kit::osdep::UInt8ToString(value, 10); }
  WString operator()(std::uint16_t value) const { return kit::osdep::UInt16ToString(value, 10); }
  WString operator()(std::uint32_t value) const { return kit::osdep::UInt32ToString(value, 10); }
  WString operator()(std::uint64_t value) const { return kit::osdep::UInt64ToString(value, 10); }
};

struct Hexadecimal {
  static constexpr int kBase = 16;
  WString operator()(std::int8_t value) const { return kit::osdep::Int8ToString(value, 16); }
  WString operator()(std::int16_t value) const { return kit::osdep::Int16ToString(value, 16); }
  WString operator()(std::int32_t value) const { return kit::osdep::Int32ToString(value, 16); }
  WString operator()(std::int64_t value) const { return kit::osdep::Int64ToString(value, 16); }
  WString operator()(std::uint8_t value) const { return kit::osdep::UInt8ToString(value, 16); }
  WString operator()(std::uint16_t value) const { return kit::osdep::UInt16ToString(value, 16); }
  WString operator()(std::uint32_t value) const { return kit::osdep::UInt32ToString(value, 16); }
  WString operator()(std::uint64_t value) const { return kit::osdep::UInt64ToString(value, 16); }
};

template <int base>
struct ToChars {
  static constexpr int kBase = base;
  template <typename Integer>
  WString operator()(Integer value) const {
    char digits[std::numeric_limits<Integer>::digits + 1];
    // Otherwise the compiler fears that they are read before they are there.
    benchmark::DoNotOptimize(&digits[0]);
    const std::conditional_t<base == 10, Integer, std::make_unsigned_t<Integer>> number = value;
    const char* const end = std::to_chars(digits, digits + sizeof(digits), number, base).ptr;
    wchar_t wide[sizeof(digits)];
    return WString(wide, std::copy(static_cast<const char*>(digits), end, wide));
  }
};

/// Numbers of all lengths that the type has, another one each time.
template <typename Integer>
class Various {
 public:
  Integer next() {
    random_ = random_ * 6364136223846793005U + 1442695040888963407U;
    const auto value = static_cast<Integer>(random_);
    const std::uint64_t places = (random_ >> 58U) % std::numeric_limits<Integer>::digits;
    return static_cast<Integer>(value >> places);
  }

 private:
  std::uint64_t random_ = 1;
};

template <typename Integer, typename ToText>
void RequireTexts() {
  Various<Integer> numbers;
  for (int i = 0; i < 1000; ++i) {
    const Integer number = numbers.next();
    const WString text = ToText()(number);
    const std::wstring digits(text.begin(), text.end());
    Require(static_cast<Integer>(std::wcstoull(digits.c_str(), nullptr, ToText::kBase)) == number);
  }
}

template <typename Integer, typename ToText>
void EachNumber(benchmark::State& state) {
  RequireTexts<Integer, ToText>();
  Various<Integer> numbers;
  for (auto _ : state) {
    const WString text = ToText()(numbers.next());
    benchmark::DoNotOptimize(text.begin());
  }
}

template <typename ToText, typename... Integers>
void Numbers(benchmark::State& state) {
  ((state.range(0) == 8 * sizeof(Integers) ? EachNumber<Integers, ToText>(state) : void()), ...);
}

template <typename ToText>
constexpr Function kSigned = Numbers<ToText, std::int8_t, std::int16_t, std::int32_t, std::int64_t>;
template <typename ToText>
constexpr Function kUnsigned =
    Numbers<ToText, std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t>;

}  // namespace

void AddBenchmarks() {
  Add("PathUtf8", Path<kUtf8>);
  Add("PathUtf8/iconv", PathByIconv<kUtf8>);
  Add("PathC", Path<kC>);
  Add("PathC/iconv", PathByIconv<kC>);
  Add("Legacy", Legacy);
  Add("Legacy/iconv", LegacyByIconv);
  Add("LegacyCharacters", LegacyCharacters, {1000, 10'000, 100'000, 1'000'000});
  const auto addWidths = [](const char* name, Function function) {
    Add(name, function, {8, 16, 32, 64});
  };
  addWidths("Decimal", kSigned<Decimal>);
  addWidths("Decimal/to_chars", kSigned<ToChars<10>>);
  addWidths("UnsignedDecimal", kUnsigned<Decimal>);
  addWidths("UnsignedDecimal/to_chars", kUnsigned<ToChars<10>>);
  addWidths("Hexadecimal", kSigned<Hexadecimal>);
  addWidths("Hexadecimal/to_chars", kSigned<ToChars<16>>);
  addWidths("UnsignedHexadecimal", kUnsigned<Hexadecimal>);
  addWidths("UnsignedHexadecimal/to_chars", kUnsigned<ToChars<16>>);
}

}  // namespace qv::bench
