#pragma once

#include <cstdint>

namespace qv::kit::osdep::platform {

// The encoding behind the locale name "carbon": the one that the operating system itself uses for
// narrow text. The implementations differ between systems; what holds for all of them is said here.

/// Converts narrow text in the system encoding into the output and returns the number of characters
/// written, where outEnd then is. An empty input writes nothing. Characters that cannot be
/// converted become "?", output that does not fit is cut off; without any room nothing is written,
/// and outBegin may be null. Throws InvalidLocale when the system cannot make anything of the
/// input, room or not.
std::uint32_t CarbonAnsiToWide(const char* begin, const char* end, wchar_t* outBegin,
                               wchar_t*& outEnd);

/// The reverse of CarbonAnsiToWide; returns the number of bytes written.
std::uint32_t CarbonWideToAnsi(const wchar_t* begin, const wchar_t* end, char* outBegin,
                               char*& outEnd);

/// The largest number of bytes that the range can take in the system encoding. Throws OutOfRange
/// when that does not fit in 32 bits.
std::uint32_t GetCarbonWideToAnsiRequiredBufferLength(const wchar_t* begin, const wchar_t* end);

}  // namespace qv::kit::osdep::platform

namespace qv::kit::osdep {

using platform::CarbonAnsiToWide;
using platform::CarbonWideToAnsi;
using platform::GetCarbonWideToAnsiRequiredBufferLength;

}  // namespace qv::kit::osdep
