// Stands in for the system encoding: this object has its functions, so that the one in the library
// is never linked.
#include "tests/doubles/SystemEncoding.h"

#include <algorithm>

#include "kit/AddFileAndLineInfo.h"
#include "kit/RangeLength.h"
#include "kit/exception/InvalidLocale.h"
#include "kit/osdep/platform/SystemEncoding.h"

namespace qv::tests {

SystemEncodingScript& SystemEncoding() {
  static SystemEncodingScript script;
  return script;
}

namespace {

template <typename CharT>
std::uint32_t Answer(const std::basic_string<CharT>& text, CharT* outBegin, CharT*& outEnd) {
  if (SystemEncoding().throwsInvalidLocale) QV_THROW(kit::exception::InvalidLocale());
  const auto room = static_cast<std::size_t>(outEnd - outBegin);
  outEnd = std::copy_n(text.begin(), std::min(room, text.size()), outBegin);
  return kit::RangeLength(outBegin, outEnd);
}

}  // namespace
}  // namespace qv::tests

namespace qv::kit::osdep::platform {

std::uint32_t CarbonAnsiToWide(const char* begin, const char* end, wchar_t* outBegin,
                               wchar_t*& outEnd) {
  tests::SystemEncoding().calls.push_back("CarbonAnsiToWide " + std::string(begin, end));
  return tests::Answer(tests::SystemEncoding().wide, outBegin, outEnd);
}

std::uint32_t CarbonWideToAnsi(const wchar_t* begin, const wchar_t* end, char* outBegin,
                               char*& outEnd) {
  tests::SystemEncoding().calls.push_back("CarbonWideToAnsi " + std::to_string(end - begin));
  return tests::Answer(tests::SystemEncoding().narrow, outBegin, outEnd);
}

std::uint32_t GetCarbonWideToAnsiRequiredBufferLength(const wchar_t* begin, const wchar_t* end) {
  tests::SystemEncoding().calls.push_back("required " + std::to_string(end - begin));
  return tests::SystemEncoding().required;
}

}  // namespace qv::kit::osdep::platform
