#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "kit/AbsTime.h"
#include "source/utils/LoggingBlock.h"
#include "tests/doubles/ObjectLayout.h"

namespace qv::tests {

/// 2026-11-21 03:04:05 and 123456 microseconds.
constexpr kit::AbsTime kStamp(3878075045, 0x1F9ACFFA7EB6BF44U);
inline const std::string kStampText = "2026-11-21T03:04:05.123456Z";

inline void SetUsed(traceengine::LoggingBlock& block, std::int32_t used) {
  auto layout = LayoutOf<LoggingBlockLayout>(block);
  layout.used = used;
  SetLayout(block, layout);
}

/// Fills a block with bytes and kStamp.
inline void Fill(traceengine::LoggingBlock& block, const std::string& bytes) {
  auto layout = LayoutOf<LoggingBlockLayout>(block);
  layout.timeStamp = LayoutOf<FixedPointLayout>(kStamp);
  std::memcpy(layout.payload, bytes.data(), bytes.size());
  layout.used = static_cast<std::int32_t>(bytes.size());
  SetLayout(block, layout);
}

}  // namespace qv::tests
