#pragma once

#include <cstddef>

#include "engine/TimeText.h"
#include "source/utils/LoggingBlock.h"

namespace qv::traceengine {

/// The most characters that WriteRecordLine writes: a time, a blank, every byte of a record as
/// "\x" and two digits, and the end of the line.
constexpr std::size_t kLongestRecordLine =
    kLongestTimeText + 1 + std::size_t{4} * LoggingBlock::kPayloadSize + 1;

/// Writes the record in block to out as one line, its end included, and returns the end of what was
/// written. out must have room for kLongestRecordLine characters.
///
/// A null character at the end of the record is not part of it. Line ends within it become "\n",
/// other control characters "\x" and two digits, a backslash two; all other bytes stay as they are,
/// be they text or, where a record was cut, half a character. A count of used bytes outside 0 to
/// 512 is taken as the nearest of the two.
char* WriteRecordLine(const LoggingBlock& block, char* out) noexcept;

}  // namespace qv::traceengine
