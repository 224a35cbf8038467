#include <iconv.h>
#include <locale.h>
#include <unicode/utf8.h>
#include <utf8.h>

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <string_view>
#include <vector>

#include "bench/Bench.h"
#include "kit/Utf8ToWide.h"
#include "kit/WideToUtf8.h"

namespace qv::bench {
namespace {

using Utf8 = std::vector<unsigned char>;
using Wide = std::vector<wchar_t>;

constexpr std::size_t kMegabyte = 1'000'000;

/// As often as it takes for so many bytes.
Utf8 Repeated(std::string_view text, std::size_t size) {
  Utf8 repeated;
  while (repeated.size() < size)
    repeated.insert(repeated.end(), text.begin(), text.end());
  return repeated;
}

Utf8 Ascii(std::size_t size) {
  return Repeated("The certificate store lies in /var/lib/QVSSLInit, and is made once.\n", size);
}

Utf8 Mixed(std::size_t size) {
  return Repeated("Größe, façade, žluťoučký kůň; 証明書は一度だけ作られます。 인증서 😀🔐🎉\n", size);
}

// Each kind of conversion writes into room that is large enough, and says how much it wrote.

struct Ours {
  std::size_t toWide(const Utf8& utf8, Wide& wide) const {
    return kit::Utf8ToWide(utf8.data(), utf8.data() + utf8.size(), wide.data(),
                           wide.data() + wide.size());
  }
  std::size_t toUtf8(const Wide& wide, std::size_t length, Utf8& utf8) const {
    return kit::WideToUtf8(wide.data(), wide.data() + length, utf8.data(),
                           utf8.data() + utf8.size());
  }
};

struct Utfcpp {
  std::size_t toWide(const Utf8& utf8, Wide& wide) const {
    return Written(wide, utf8::utf8to32(utf8.data(), utf8.data() + utf8.size(), wide.data()));
  }
  std::size_t toUtf8(const Wide& wide, std::size_t length, Utf8& utf8) const {
    return Written(utf8, utf8::utf32to8(wide.data(), wide.data() + length, utf8.data()));
  }

 private:
  template <typename Text, typename Unit>
  static std::size_t Written(const Text& text, const Unit* end) {
    return static_cast<std::size_t>(end - text.data());
  }
};

// Pointers of their own spare the loops below the fear that what they write is the vector itself.

struct Icu {
  std::size_t toWide(const Utf8& utf8, Wide& wide) const {
    const unsigned char* const in = utf8.data();
    wchar_t* const out = wide.data();
    const std::size_t length = utf8.size();
    std::size_t written = 0;
    for (std::size_t read = 0; read < length;) {
      UChar32 character = 0;
      U8_NEXT(in, read, length, character);
      out[written++] = character;
    }
    return written;
  }
  std::size_t toUtf8(const Wide& wide, std::size_t length, Utf8& utf8) const {
    const wchar_t* const in = wide.data();
    unsigned char* const out = utf8.data();
    const std::size_t room = utf8.size();
    std::size_t written = 0;
    UBool failed = false;
    for (std::size_t read = 0; read < length; ++read)
      U8_APPEND(out, written, room, in[read], failed);
    return failed ? 0 : written;
  }
};

/// Opened once: what that takes is of no account for so much text.
struct Iconv {
  Iconv() = default;
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;
  ~Iconv() {
    ::iconv_close(decoder);
    ::iconv_close(encoder);
  }

  std::size_t toWide(const Utf8& utf8, Wide& wide) const {
    return Convert(decoder, utf8.data(), utf8.size(), wide);
  }
  std::size_t toUtf8(const Wide& wide, std::size_t length, Utf8& utf8) const {
    return Convert(encoder, wide.data(), length, utf8);
  }

 private:
  template <typename From, typename To>
  static std::size_t Convert(iconv_t descriptor, const From* text, std::size_t length, To& to) {
    char* in = const_cast<char*>(reinterpret_cast<const char*>(text));
    std::size_t inLeft = length * sizeof(From);
    char* out = reinterpret_cast<char*>(to.data());
    std::size_t outLeft = to.size() * sizeof(to[0]);
    ::iconv(descriptor, &in, &inLeft, &out, &outLeft);
    return to.size() - outLeft / sizeof(to[0]);
  }

  iconv_t decoder = ::iconv_open("WCHAR_T", "UTF-8");
  iconv_t encoder = ::iconv_open("UTF-8", "WCHAR_T");
};

/// The C library's functions for the encoding of the thread's locale.
struct Libc {
  Libc() { Require(encoding != nullptr); }
  Libc(const Libc&) = delete;
  Libc& operator=(const Libc&) = delete;
  ~Libc() {
    ::uselocale(before);
    ::freelocale(encoding);
  }

  std::size_t toWide(const Utf8& utf8, Wide& wide) const {
    std::mbstate_t state{};
    const char* in = reinterpret_cast<const char*>(utf8.data());
    return ::mbsnrtowcs(wide.data(), &in, utf8.size(), wide.size(), &state);
  }
  std::size_t toUtf8(const Wide& wide, std::size_t length, Utf8& utf8) const {
    std::mbstate_t state{};
    const wchar_t* in = wide.data();
    return ::wcsnrtombs(reinterpret_cast<char*>(utf8.data()), &in, length, utf8.size(), &state);
  }

 private:
  locale_t encoding = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  locale_t before = ::uselocale(encoding);
};

/// No conversion at all: as fast as ASCII can be.
struct Copying {
  std::size_t toWide(const Utf8& utf8, Wide& wide) const {
    return Copy(utf8.data(), utf8.size(), wide.data());
  }
  std::size_t toUtf8(const Wide& wide, std::size_t length, Utf8& utf8) const {
    return Copy(wide.data(), length, utf8.data());
  }

 private:
  template <typename From, typename To>
  static std::size_t Copy(const From* from, std::size_t length, To* to) {
    for (std::size_t i = 0; i < length; ++i)
      to[i] = static_cast<To>(from[i]);
    return length;
  }
};

template <typename Conversion>
void Convert(benchmark::State& state, const Utf8& utf8) {
  const Conversion conversion;
  Wide wide(utf8.size());
  Utf8 back(utf8.size());
  for (auto _ : state) {
    const std::size_t length = conversion.toWide(utf8, wide);
    benchmark::DoNotOptimize(conversion.toUtf8(wide, length, back));
    benchmark::ClobberMemory();
  }
  Require(back == utf8);
}

template <typename Conversion, Utf8 (*text)(std::size_t)>
void ThereAndBack(benchmark::State& state) {
  Convert<Conversion>(state, text(kMegabyte));
}

template <typename Conversion, Utf8 (*text)(std::size_t)>
void AnySizeThereAndBack(benchmark::State& state) {
  Convert<Conversion>(state, text(static_cast<std::size_t>(state.range(0))));
}

}  // namespace

void AddBenchmarks() {
  Add("Ascii", ThereAndBack<Ours, Ascii>);
  Add("Ascii/utfcpp", ThereAndBack<Utfcpp, Ascii>);
  Add("Ascii/icu", ThereAndBack<Icu, Ascii>);
  Add("Ascii/copying", ThereAndBack<Copying, Ascii>);
  Add("Mixed", ThereAndBack<Ours, Mixed>);
  Add("Mixed/utfcpp", ThereAndBack<Utfcpp, Mixed>);
  Add("Mixed/icu", ThereAndBack<Icu, Mixed>);
  Add("Mixed/iconv", ThereAndBack<Iconv, Mixed>);
  Add("Mixed/libc", ThereAndBack<Libc, Mixed>);
  Add("MixedBytes", AnySizeThereAndBack<Ours, Mixed>, {1000, 10'000, 100'000, 1'000'000});
}

}  // namespace qv::bench
