#include "kit/osdep/AnsiToWide.h"

#include "kit/RangeLength.h"
#include "kit/osdep/AllocateConverted.h"
#include "kit/osdep/IConv.h"
#include "kit/osdep/ProcessLocaleAscii.h"
#include "kit/osdep/platform/SystemEncoding.h"

namespace qv::kit::osdep {

std::uint32_t GetAnsiToWideRequiredBufferLength(const char* begin, const char* end,
                                                const char* /*locale*/) {
  return RangeLength(begin, end);
}

std::uint32_t AnsiToWideNoAlloc(const char* begin, const char* end, const char* locale,
                                wchar_t* outBegin, wchar_t*& outEnd) {
  if (IsSystemEncoding(locale)) {
    return CarbonAnsiToWide(begin, end, outBegin, outEnd);
  }
  wchar_t* out = outBegin;
  if (IsProcessLocaleOverAscii(locale) && CopyAscii(begin, end, out, outEnd)) {
    outEnd = out;
  } else {
    IConv(begin, end, locale, out, outEnd, kWideEncoding);
  }
  return RangeLength(outBegin, outEnd);
}

void AnsiToWide(const char* begin, const char* end, const char* locale, wchar_t*& outBegin,
                wchar_t*& outEnd) {
  AllocateConverted<GetAnsiToWideRequiredBufferLength, AnsiToWideNoAlloc>(begin, end, locale,
                                                                          outBegin, outEnd);
}

wchar_t* AnsiToWide(const char* begin, const char* end, const char* locale) {
  wchar_t* outBegin = nullptr;
  wchar_t* outEnd = nullptr;
  AnsiToWide(begin, end, locale, outBegin, outEnd);
  return outBegin;
}

}  // namespace qv::kit::osdep
