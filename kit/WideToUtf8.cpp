#include "kit/WideToUtf8.h"

#include <cstddef>
#include <cwchar>
#include <limits>

#include "kit/RangeLength.h"
#include "kit/SafeInteger.h"
#include "kit/Utf8Run.h"

namespace qv::kit {
namespace {

// Whether the kUtf8Run characters at p are ASCII.
bool IsAsciiRun(const wchar_t* p) {
  std::uint32_t bits = 0;
  for (std::ptrdiff_t i = 0; i < kUtf8Run; ++i) {
    bits |= static_cast<std::uint32_t>(p[i]);
  }
  return bits < 0x80;
}

// The value that is written for character: itself, or "?" for one that has no bytes.
std::uint32_t EncodableValue(wchar_t character) {
  // NOLINTNEXTLINE(bugprone-signed-char-misuse): all 32 bits of a wchar_t are its value.
  const auto value = static_cast<std::uint32_t>(character);
  return value > 0x7FFFFFFF ? std::uint32_t{'?'} : value;
}

std::ptrdiff_t EncodedLength(std::uint32_t value) {
  if (value <= 0x7F) {
    return 1;
  }
  if (value <= 0x7FF) {
    return 2;
  }
  if (value <= 0xFFFF) {
    return 3;
  }
  if (value <= 0x1FFFFF) {
    return 4;
  }
  return value <= 0x3FFFFFF ? 5 : 6;
}

// Writes the length bytes of value, the last one first, and returns their end. The length is known
// to the compiler, for this is the inner loop of all text that is not ASCII.
template <std::ptrdiff_t length>
unsigned char* EncodeAs(std::uint32_t value, unsigned char* out) {
  constexpr unsigned char kLead[] = {0, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
  for (std::ptrdiff_t i = length - 1; i > 0; --i) {
    out[i] = static_cast<unsigned char>(0x80U | (value & 0x3FU));
    value >>= 6;
  }
  out[0] = static_cast<unsigned char>(kLead[length] | value);
  return out + length;
}

// Writes the bytes of character, for which there must be room, and returns their end.
unsigned char* Encode(wchar_t character, unsigned char* out) {
  const std::uint32_t value = EncodableValue(character);
  if (value <= 0x7F) {
    return EncodeAs<1>(value, out);
  }
  if (value <= 0x7FF) {
    return EncodeAs<2>(value, out);
  }
  if (value <= 0xFFFF) {
    return EncodeAs<3>(value, out);
  }
  if (value <= 0x1FFFFF) {
    return EncodeAs<4>(value, out);
  }
  return value <= 0x3FFFFFF ? EncodeAs<5>(value, out) : EncodeAs<kLongestInUtf8>(value, out);
}

std::uint64_t LengthOf(wchar_t character) {
  return static_cast<std::uint64_t>(EncodedLength(EncodableValue(character)));
}

// Bytes of the first characters that stay within limit together.
std::uint64_t CountBytes(const wchar_t* p, const wchar_t* end, std::uint64_t limit) {
  std::uint64_t count = 0;
  // An empty text may be two null pointers, whose difference is 0.
  // cppcheck-suppress nullPointerArithmetic
  for (; end - p >= kUtf8Run && limit - count >= kUtf8Run * kLongestInUtf8; p += kUtf8Run) {
    if (IsAsciiRun(p)) {
      count += kUtf8Run;
    } else {
      for (std::ptrdiff_t i = 0; i < kUtf8Run; ++i) {
        count += LengthOf(p[i]);
      }
    }
  }
  for (; p < end && limit - count >= LengthOf(*p); ++p) {
    count += LengthOf(*p);
  }
  return count;
}

}  // namespace

std::uint32_t WideToUtf8(const wchar_t* begin, const wchar_t* end, unsigned char* out,
                         const unsigned char* outEnd) {
  unsigned char* written = out;
  // An empty text may be two null pointers, whose difference is 0.
  // cppcheck-suppress nullPointerArithmetic
  while (end - begin >= kUtf8Run && outEnd - written >= kUtf8Run) {
    if (IsAsciiRun(begin)) {
      for (std::ptrdiff_t i = 0; i < kUtf8Run; ++i) {
        written[i] = static_cast<unsigned char>(begin[i]);
      }
      written += kUtf8Run;
    } else if (outEnd - written >= kUtf8Run * kLongestInUtf8) {
      for (std::ptrdiff_t i = 0; i < kUtf8Run; ++i) {
        written = Encode(begin[i], written);
      }
    } else {
      break;
    }
    begin += kUtf8Run;
  }
  for (; begin < end; ++begin) {
    if (outEnd - written < EncodedLength(EncodableValue(*begin))) {
      break;
    }
    written = Encode(*begin, written);
  }
  return RangeLength(out, written);
}

std::unique_ptr<unsigned char[]> WideToUtf8(const wchar_t* text) {
  const wchar_t* end = text == nullptr ? nullptr : text + std::wcslen(text);
  const std::size_t count = GetUtf8EncodingBytes(text, end);
  std::unique_ptr<unsigned char[]> utf8(new unsigned char[count + 1]);
  WideToUtf8(text, end, utf8.get(), utf8.get() + count);
  utf8[count] = 0;
  return utf8;
}

std::uint32_t WideToUtf8NoOverflow(const wchar_t* begin, const wchar_t* end, unsigned char* out,
                                   const unsigned char* outEnd) {
  return WideToUtf8(begin, end, out, outEnd);
}

std::uint32_t GetUtf8EncodingBytes(const wchar_t* begin, const wchar_t* end) {
  const std::uint64_t count = CountBytes(begin, end, std::numeric_limits<std::uint64_t>::max());
  return SafeInteger<unsigned long>(count).value();
}

std::uint32_t GetUtf8EncodingBytesWithBufferLimit(const wchar_t* begin, const wchar_t* end,
                                                  std::uint32_t limit) {
  return static_cast<std::uint32_t>(CountBytes(begin, end, limit));
}

}  // namespace qv::kit
