#include "tools/common/Printable.h"

#include <sstream>

#include "kit/Utf8ToWide.h"
#include "kit/exception/Exception.h"

namespace qv::tools {
namespace {

bool IsUtf8(const std::string& text) {
  const auto* begin = reinterpret_cast<const unsigned char*>(text.data());
  try {
    kit::GetUtf8StringLength(begin, begin + text.size());
    return true;
  } catch (const kit::exception::Exception&) {
    return false;
  }
}

/// How many bytes the character at position of UTF-8 takes if it steers a terminal or an editor:
/// U+0080 to U+009F, and those that separate lines or turn the direction of writing. Otherwise 0.
std::size_t SteeringLength(const std::string& text, std::size_t position) {
  const auto byte = [&](std::size_t offset) {
    return static_cast<unsigned char>(text[position + offset]);
  };
  if (byte(0) == 0xC2) return byte(1) < 0xA0 ? 2 : 0;
  if (byte(0) != 0xE2) return 0;
  const unsigned char second = byte(1);
  const unsigned char third = byte(2);
  const bool isSeparatorOrTurn = second == 0x80 && third >= 0xA8 && third <= 0xAE;
  const bool isIsolate = second == 0x81 && third >= 0xA6 && third <= 0xA9;
  return isSeparatorOrTurn || isIsolate ? 3 : 0;
}

}  // namespace

std::string Printable(const std::string& text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const bool keepHigh = IsUtf8(text);
  std::string printable;
  std::size_t hidden = 0;  // bytes of a character that is to be escaped as a whole
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (hidden > 0) --hidden;
    if (keepHigh && hidden == 0) hidden = SteeringLength(text, i);
    const bool plain = byte >= 0x80 ? keepHigh && hidden == 0 : byte >= 0x20 && byte != 0x7F;
    if (plain) {
      printable += text[i];
    } else {
      printable += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
  }
  return printable;
}

std::vector<std::string> PrintableLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  std::string line;
  while (std::getline(stream, line))
    lines.push_back(Printable(line));
  return lines;
}

std::string Quoted(const std::string& text) {
  return "'" + Printable(text) + "'";
}

}  // namespace qv::tools
