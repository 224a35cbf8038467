#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "kit/AbsTime.h"
#include "source/utils/LoggingBlock.h"

namespace qv::tests {

/// A logging block as a client knows it that was built elsewhere: by the order of its members.
struct BlockLayout {
  void* operations;
  std::int32_t used;
  std::int32_t enginesOwn;
  std::uint32_t time[4];
  std::int32_t type;
  char payload[512];
  void* factory;
};
static_assert(sizeof(BlockLayout) == sizeof(traceengine::LoggingBlock));

/// 2026-11-21 03:04:05 and 123456 microseconds.
constexpr kit::AbsTime kStamp(3878075045, 0x1F9ACFFA7EB6BF44U);
inline const std::string kStampText = "2026-11-21T03:04:05.123456Z";

inline void SetUsed(traceengine::LoggingBlock& block, std::int32_t used) {
  std::memcpy(reinterpret_cast<char*>(&block) + offsetof(BlockLayout, used), &used, sizeof(used));
}

/// Fills a block with bytes and kStamp.
inline void Fill(traceengine::LoggingBlock& block, const std::string& bytes) {
  auto* const memory = reinterpret_cast<char*>(&block);
  std::memcpy(memory + offsetof(BlockLayout, time), &kStamp, sizeof(kStamp));
  std::memcpy(memory + offsetof(BlockLayout, payload), bytes.data(), bytes.size());
  SetUsed(block, static_cast<std::int32_t>(bytes.size()));
}

}  // namespace qv::tests
