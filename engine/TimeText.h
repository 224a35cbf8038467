#pragma once

#include <cstddef>

#include "kit/AbsTime.h"

namespace qv::traceengine {

/// The most characters that WriteTimeText writes: years may need a sign and twelve digits.
constexpr std::size_t kLongestTimeText = 36;

/// Writes time to out, without a terminator, as UTC with microseconds (2026-11-21T03:04:05.123456Z)
/// and returns the end of what was written. out must have room for kLongestTimeText characters.
///
/// Parts of a microsecond are cut off, but a stamp that was made from whole microseconds, and so
/// lost what 2^-64 seconds cannot hold, reads as those. Years before 0 and after 9999 bear a sign;
/// the calendar is the Gregorian one throughout. No time at all is "-".
char* WriteTimeText(const kit::AbsTime& time, char* out) noexcept;

}  // namespace qv::traceengine
