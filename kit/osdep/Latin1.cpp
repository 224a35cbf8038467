#include "kit/osdep/Latin1.h"

#include <cstring>

#include "kit/AddFileAndLineInfo.h"
#include "kit/RangeLength.h"
#include "kit/exception/InvalidLocale.h"
#include "kit/exception/PosixError.h"

namespace qv::kit::osdep {
namespace {

char ToLatin1(wchar_t character) {
  // NOLINTNEXTLINE(bugprone-signed-char-misuse): all 32 bits of a wchar_t are its value.
  const auto value = static_cast<std::uint32_t>(character);
  return value < 256 ? static_cast<char>(value) : '?';
}

wchar_t FromLatin1(char byte) {
  return static_cast<unsigned char>(byte);
}

template <auto map, typename FromT, typename ToT>
std::uint32_t Convert(const FromT* begin, const FromT* end, const char* locale, ToT* outBegin,
                      ToT*& outEnd) {
  if (*locale != '\0' && std::strcmp(locale, "US-ASCII") != 0) {
    QV_THROW(exception::InvalidLocale());
  }
  ToT* out = outBegin;
  for (; begin != end; ++begin, ++out) {
    if (out == outEnd) {
      QV_THROW(PosixError());
    }
    *out = map(*begin);
  }
  outEnd = out;
  return RangeLength(outBegin, out);
}

}  // namespace

std::uint32_t Latin1WideToAnsi(const wchar_t* begin, const wchar_t* end, const char* locale,
                               char* outBegin, char*& outEnd) {
  return Convert<ToLatin1>(begin, end, locale, outBegin, outEnd);
}

std::uint32_t Latin1AnsiToWide(const char* begin, const char* end, const char* locale,
                               wchar_t* outBegin, wchar_t*& outEnd) {
  return Convert<FromLatin1>(begin, end, locale, outBegin, outEnd);
}

}  // namespace qv::kit::osdep
