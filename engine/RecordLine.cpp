#include "engine/RecordLine.h"

#include <algorithm>
#include <cstdint>

namespace qv::traceengine {
namespace {

bool IsControl(unsigned char byte) noexcept {
  return byte < 0x20 || byte == 0x7F;
}

char* WriteEscaped(char character, char* out) noexcept {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(character);
  if (character != '\\' && !IsControl(byte)) {
    *out++ = character;
    return out;
  }
  *out++ = '\\';
  if (character == '\\') {
    *out++ = '\\';
  } else if (character == '\n') {
    *out++ = 'n';
  } else {
    *out++ = 'x';
    *out++ = kDigits[byte >> 4U];
    *out++ = kDigits[byte & 0xFU];
  }
  return out;
}

}  // namespace

char* WriteRecordLine(const LoggingBlock& block, char* out) noexcept {
  std::int32_t length = std::clamp(block.used(), 0, LoggingBlock::kPayloadSize);
  if (length > 0 && block.payload()[length - 1] == '\0') --length;
  out = WriteTimeText(block.timeStamp(), out);
  *out++ = ' ';
  for (std::int32_t i = 0; i < length; ++i)
    out = WriteEscaped(block.payload()[i], out);
  *out++ = '\n';
  return out;
}

}  // namespace qv::traceengine
