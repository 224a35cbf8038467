// The system encoding of a POSIX system: the codeset of the current locale, as the C library
// reports it.
#include "kit/osdep/platform/SystemEncoding.h"

#include <langinfo.h>

#include <cstdlib>

#include "kit/RangeLength.h"
#include "kit/SafeInteger.h"
#include "kit/osdep/IConv.h"

namespace qv::kit::osdep::platform {

std::uint32_t CarbonAnsiToWide(const char* begin, const char* end, wchar_t* outBegin,
                               wchar_t*& outEnd) {
  if (begin == end) {
    outEnd = outBegin;
    return 0;
  }
  IConv(begin, end, ::nl_langinfo(CODESET), outBegin, outEnd, kWideEncoding);
  return RangeLength(outBegin, outEnd);
}

std::uint32_t CarbonWideToAnsi(const wchar_t* begin, const wchar_t* end, char* outBegin,
                               char*& outEnd) {
  if (begin == end) {
    outEnd = outBegin;
    return 0;
  }
  IConv(begin, end, kWideEncoding, outBegin, outEnd, ::nl_langinfo(CODESET));
  return RangeLength(outBegin, outEnd);
}

std::uint32_t GetCarbonWideToAnsiRequiredBufferLength(const wchar_t* begin, const wchar_t* end) {
  return (SafeInteger<unsigned long>(RangeLength(begin, end)) * MB_CUR_MAX).value();
}

}  // namespace qv::kit::osdep::platform
