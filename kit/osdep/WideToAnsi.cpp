#include "kit/osdep/WideToAnsi.h"

#include <cwchar>

#include "kit/RangeLength.h"
#include "kit/SafeInteger.h"
#include "kit/osdep/AllocateConverted.h"
#include "kit/osdep/IConv.h"
#include "kit/osdep/ProcessLocaleAscii.h"
#include "kit/osdep/platform/SystemEncoding.h"

namespace qv::kit::osdep {

std::uint32_t GetWideToAnsiRequiredBufferLength(const wchar_t* begin, const wchar_t* end,
                                                const char* locale) {
  if (IsSystemEncoding(locale)) {
    return GetCarbonWideToAnsiRequiredBufferLength(begin, end);
  }
  return (SafeInteger<unsigned long>(RangeLength(begin, end)) * 4).value();
}

std::uint32_t WideToAnsiNoAlloc(const wchar_t* begin, const wchar_t* end, const char* locale,
                                char* outBegin, char*& outEnd) {
  if (IsSystemEncoding(locale)) {
    return CarbonWideToAnsi(begin, end, outBegin, outEnd);
  }
  char* out = outBegin;
  if (IsProcessLocaleOverAscii(locale) && CopyAscii(begin, end, out, outEnd)) {
    outEnd = out;
  } else {
    IConv(begin, end, kWideEncoding, out, outEnd, locale);
  }
  return RangeLength(outBegin, outEnd);
}

void WideToAnsi(const wchar_t* begin, const wchar_t* end, const char* locale, char*& outBegin,
                char*& outEnd) {
  AllocateConverted<GetWideToAnsiRequiredBufferLength, WideToAnsiNoAlloc>(begin, end, locale,
                                                                          outBegin, outEnd);
}

char* WideToAnsi(const wchar_t* begin, const wchar_t* end, const char* locale) {
  char* outBegin = nullptr;
  char* outEnd = nullptr;
  WideToAnsi(begin, end, locale, outBegin, outEnd);
  return outBegin;
}

char* WideToAnsi(const wchar_t* text, const char* locale) {
  return WideToAnsi(text, text + std::wcslen(text), locale);
}

}  // namespace qv::kit::osdep
