// The encoding that the system is set to, converted by Core Foundation.
#include "kit/osdep/platform/SystemEncoding.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <cstdint>

#include "kit/AddFileAndLineInfo.h"
#include "kit/RangeLength.h"
#include "kit/SafeInteger.h"
#include "kit/exception/InvalidLocale.h"
#include "kit/osdep/platform/apple/CFOwner.h"

namespace qv::kit::osdep::platform {
namespace {

template <typename CharT>
CFIndex ByteCount(const CharT* begin, const CharT* end) {
  return static_cast<CFIndex>(end - begin) * CFIndex{sizeof(CharT)};
}

/// The bytes from begin to end, which are text in the given encoding.
template <typename CharT>
CFOwner<CFStringRef> CreateString(const CharT* begin, const CharT* end, CFStringEncoding encoding) {
  CFOwner<CFStringRef> string(CFStringCreateWithBytes(kCFAllocatorDefault,
                                                      reinterpret_cast<const UInt8*>(begin),
                                                      ByteCount(begin, end), encoding, false));
  if (string == nullptr) QV_THROW(exception::InvalidLocale());
  return string;
}

/// Writes as much of string as the output has room for. Returns the number of characters written
/// and moves outEnd behind the last of them.
template <typename CharT>
std::uint32_t GetText(CFStringRef string, CFStringEncoding encoding, CharT* outBegin,
                      CharT*& outEnd) {
  const CFRange all = CFRangeMake(0, CFStringGetLength(string));
  CFIndex bytes = 0;
  CFStringGetBytes(string, all, encoding, '?', false, reinterpret_cast<UInt8*>(outBegin),
                   ByteCount<CharT>(outBegin, outEnd), &bytes);
  outEnd = outBegin + bytes / static_cast<CFIndex>(sizeof(CharT));
  return RangeLength<CharT>(outBegin, outEnd);
}

template <typename FromT, typename ToT>
std::uint32_t Convert(const FromT* begin, const FromT* end, CFStringEncoding from, ToT* outBegin,
                      ToT*& outEnd, CFStringEncoding to) {
  if (begin == end) {
    outEnd = outBegin;
    return 0;
  }
  const CFOwner<CFStringRef> string = CreateString(begin, end, from);
  // Without a buffer Core Foundation would count the bytes that it could have written.
  if (outBegin == outEnd) return 0;
  return GetText(string.get(), to, outBegin, outEnd);
}

}  // namespace

std::uint32_t CarbonAnsiToWide(const char* begin, const char* end, wchar_t* outBegin,
                               wchar_t*& outEnd) {
  return Convert(begin, end, CFStringGetSystemEncoding(), outBegin, outEnd,
                 kCFStringEncodingUTF32LE);
}

std::uint32_t CarbonWideToAnsi(const wchar_t* begin, const wchar_t* end, char* outBegin,
                               char*& outEnd) {
  return Convert(begin, end, kCFStringEncodingUTF32LE, outBegin, outEnd,
                 CFStringGetSystemEncoding());
}

std::uint32_t GetCarbonWideToAnsiRequiredBufferLength(const wchar_t* begin, const wchar_t* end) {
  // In UTF-16, where a character from 0x10000 on takes two places.
  const auto isPair = [](wchar_t character) { return character >= 0x10000; };
  const CFIndex length =
      static_cast<CFIndex>(RangeLength(begin, end)) + std::count_if(begin, end, isPair);
  // Negative when the system itself cannot count them.
  return SafeInteger<unsigned long>(
             CFStringGetMaximumSizeForEncoding(length, CFStringGetSystemEncoding()))
      .value();
}

}  // namespace qv::kit::osdep::platform
