#include "kit/Utf8ToWide.h"

#include <cstddef>
#include <cstring>

#include "kit/AddFileAndLineInfo.h"
#include "kit/RangeLength.h"
#include "kit/SafeInteger.h"
#include "kit/Utf8Run.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/InvalidSequence.h"

namespace qv::kit {
namespace {

// What a lead byte of 0x80 or above says about its sequence.
struct Sequence {
  std::ptrdiff_t length;        // in bytes, 0 for a byte that leads nothing
  std::uint32_t leadBits;       // the part of the value that the lead byte carries
  unsigned char secondAtLeast;  // a smaller second byte would spell a value that is due fewer bytes
};

Sequence SequenceOf(unsigned char lead) {
  if (lead < 0xC2) {
    return {0, 0, 0};  // a stray continuation byte, or two bytes for what one can hold
  }
  if (lead < 0xE0) {
    return {2, lead & 0x1FU, 0x80};
  }
  if (lead < 0xF0) {
    return {3, lead & 0x0FU, static_cast<unsigned char>(lead == 0xE0 ? 0xA0 : 0x80)};
  }
  if (lead < 0xF8) {
    return {4, lead & 0x07U, static_cast<unsigned char>(lead == 0xF0 ? 0x90 : 0x80)};
  }
  if (lead < 0xFE) {
    // There are no five-byte sequences on this side: 0xF8 to 0xFB lead six bytes as well, and give
    // their lowest bit only.
    return {6, lead & 0x01U, static_cast<unsigned char>(lead == 0xFD ? 0x80 : 0x84)};
  }
  return {0, 0, 0};
}

// Whether the kUtf8Run bytes at p are ASCII.
bool IsAsciiRun(const unsigned char* p) {
  std::uint64_t words[kUtf8Run / sizeof(std::uint64_t)];
  std::memcpy(words, p, kUtf8Run);
  std::uint64_t bits = 0;
  for (const std::uint64_t word : words) {
    bits |= word;
  }
  return (bits & 0x8080808080808080U) == 0;
}

// As ConvertNextUtf8Character, in less time for what text is made of, characters of up to four
// bytes, of which there must be four at p. The bits that mark the bytes of a character are looked
// at together; what is none of the usual is left to that function.
const unsigned char* Next(const unsigned char* p, const unsigned char* end, wchar_t& out) {
  const std::uint32_t bytes = std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 |
                              std::uint32_t{p[2]} << 8 | std::uint32_t{p[3]};
  if (bytes < 0x80000000) {
    out = static_cast<wchar_t>(bytes >> 24);
    return p + 1;
  }
  if ((bytes & 0xF0C0C000) == 0xE0808000) {
    const std::uint32_t value =
        (bytes >> 12 & 0xF000) | (bytes >> 10 & 0xFC0) | (bytes >> 8 & 0x3F);
    if (value >= 0x800) {
      out = static_cast<wchar_t>(value);
      return p + 3;
    }
  }
  if ((bytes & 0xE0C00000) == 0xC0800000) {
    const std::uint32_t value = (bytes >> 18 & 0x7C0) | (bytes >> 16 & 0x3F);
    if (value >= 0x80) {
      out = static_cast<wchar_t>(value);
      return p + 2;
    }
  }
  if ((bytes & 0xF8C0C0C0) == 0xF0808080) {
    const std::uint32_t value =
        (bytes >> 6 & 0x1C0000) | (bytes >> 4 & 0x3F000) | (bytes >> 2 & 0xFC0) | (bytes & 0x3F);
    if (value >= 0x10000) {
      out = static_cast<wchar_t>(value);
      return p + 4;
    }
  }
  return ConvertNextUtf8Character(p, end, out);
}

// Decodes while both input and output remain and moves the two cursors.
void Decode(const unsigned char*& begin, const unsigned char* end, wchar_t*& outBegin,
            const wchar_t* outEnd) {
  const unsigned char* p = begin;
  wchar_t* out = outBegin;
  while (end - p >= kUtf8Run && outEnd - out >= kUtf8Run) {
    if (IsAsciiRun(p)) {
      for (std::ptrdiff_t i = 0; i < kUtf8Run; ++i) {
        out[i] = static_cast<wchar_t>(p[i]);
      }
      p += kUtf8Run;
    } else if (end - p >= kUtf8Run * kLongestInUtf8) {
      for (std::ptrdiff_t i = 0; i < kUtf8Run; ++i) {
        p = Next(p, end, out[i]);
      }
    } else {
      break;
    }
    out += kUtf8Run;
  }
  while (p < end && out < outEnd) {
    p = ConvertNextUtf8Character(p, end, *out);
    ++out;
  }
  begin = p;
  outBegin = out;
}

}  // namespace

const unsigned char* ConvertNextUtf8Character(const unsigned char* p, const unsigned char* end,
                                              wchar_t& out) {
  if (p == nullptr || p == end) {
    out = 0;
    return p;
  }
  if (*p < 0x80) {
    out = static_cast<wchar_t>(*p);
    return p + 1;
  }
  const Sequence sequence = SequenceOf(*p);
  if (sequence.length == 0 || end - p < sequence.length || p[1] < sequence.secondAtLeast) {
    QV_THROW(exception::InvalidSequence());
  }
  std::uint32_t value = sequence.leadBits;
  for (std::ptrdiff_t i = 1; i < sequence.length; ++i) {
    if ((p[i] & 0xC0U) != 0x80) {
      QV_THROW(exception::InvalidSequence());
    }
    value = (value << 6) | (p[i] & 0x3FU);
  }
  out = static_cast<wchar_t>(value);
  return p + sequence.length;
}

std::uint32_t Utf8ToWide(const unsigned char* begin, const unsigned char* end, wchar_t* out,
                         const wchar_t* outEnd) {
  wchar_t* written = out;
  Decode(begin, end, written, outEnd);
  if (begin < end) {
    QV_THROW(exception::BufferOverflow());
  }
  return RangeLength(out, written);
}

std::unique_ptr<wchar_t[]> Utf8ToWide(const unsigned char* text, std::uint32_t length) {
  const unsigned char* end = text == nullptr ? nullptr : text + length;
  const std::size_t count = GetUtf8StringLength(text, end);
  std::unique_ptr<wchar_t[]> wide(new wchar_t[count + 1]);
  Utf8ToWide(text, end, wide.get(), wide.get() + count);
  wide[count] = L'\0';
  return wide;
}

std::uint32_t Utf8ToWideNoOverflow(const unsigned char* begin, const unsigned char* end,
                                   wchar_t* out, const wchar_t* outEnd) {
  wchar_t* written = out;
  Decode(begin, end, written, outEnd);
  return RangeLength(out, written);
}

std::uint32_t GetUtf8StringLength(const unsigned char* begin, const unsigned char* end) {
  std::uint64_t count = 0;
  const unsigned char* p = begin;
  wchar_t character = 0;
  // An empty text may be two null pointers, whose difference is 0.
  // cppcheck-suppress nullPointerArithmetic
  for (; end - p >= kUtf8Run; count += kUtf8Run) {
    if (IsAsciiRun(p)) {
      p += kUtf8Run;
    } else if (end - p >= kUtf8Run * kLongestInUtf8) {
      for (std::ptrdiff_t i = 0; i < kUtf8Run; ++i) {
        p = Next(p, end, character);
      }
    } else {
      break;
    }
  }
  for (; p < end; ++count) {
    p = ConvertNextUtf8Character(p, end, character);
  }
  return SafeInteger<unsigned long>(count).value();
}

}  // namespace qv::kit
