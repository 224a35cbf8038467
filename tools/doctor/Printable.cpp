#include "tools/doctor/Printable.h"

#include <sstream>

#include "kit/Utf8ToWide.h"
#include "kit/exception/Exception.h"

namespace qv::doctor {
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

}  // namespace

std::string Printable(const std::string& text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const bool keepHigh = IsUtf8(text);
  std::string printable;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    const bool plain = byte >= 0x80 ? keepHigh : byte >= 0x20 && byte != 0x7F;
    if (plain) {
      printable += character;
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

}  // namespace qv::doctor
