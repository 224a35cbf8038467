#include "source/utils/LoggingBlock.h"

#include <algorithm>
#include <cstring>

#include "kit/osdep/CurrentSystemTime.h"

namespace qv::traceengine {
namespace {

constexpr long kFailed = -1;

}  // namespace

void LoggingBlock::stampCurrentTime() noexcept {
  timeStamp_ = kit::osdep::CurrentSystemTime();
}

void LoggingBlock::write(const char* data, std::int32_t length, kit::StatusChain& status) {
  if (status.code() < 0) return;
  if (length < 0 || length > room()) {
    status.set(kFailed);
    return;
  }
  if (length == 0) return;
  std::memcpy(payload_ + used_, data, static_cast<std::size_t>(length));
  used_ += length;
}

// That the text comes as a copy is part of the interface.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void LoggingBlock::write(kit::String text, kit::StatusChain& status) {
  // A text that fills a block leaves no room for its terminator, however long it is.
  constexpr std::uint32_t kTooLong = kPayloadSize;
  write(text.c_str(), static_cast<std::int32_t>(std::min(text.length(), kTooLong) + 1), status);
}

BlockType LoggingBlock::blockType(BlockType type, kit::StatusChain& status) {
  if (status.code() < 0) return type_;
  if (type == kBlockType1 || type == kBlockType2) {
    type_ = type;
  } else {
    status.set(kFailed);
  }
  return type_;
}

}  // namespace qv::traceengine
