#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <map>
#include <ostream>
#include <string>

// Tag files as the C library's scan sees them. Not for programs that set a locale.
namespace qv::tests {

/// A line, taken apart by sscanf. What it leaves undefined, a number that fits no int, is none.
struct ScannedTagLine {
  explicit ScannedTagLine(const std::string& line)
      : fields(std::max(0, std::sscanf(line.c_str(), "%127s : %d : %127s", name, &id, value))) {
    if (fields < 2 || numberFits(line)) return;
    fields = 1;
    id = 0;
    value[0] = '\0';
  }

  char name[128] = {};
  int id = 0;
  char value[128] = {};
  int fields;

 private:
  static bool numberFits(const std::string& line) {
    int start = 0;
    std::sscanf(line.c_str(), "%*127s : %n", &start);
    const auto sign = static_cast<std::size_t>(start);
    const bool isNegative = line[sign] == '-';
    const std::size_t digits = sign + (isNegative || line[sign] == '+' ? 1 : 0);
    const std::size_t first = std::min(line.find_first_not_of('0', digits), line.size());
    const std::size_t past = std::min(line.find_first_not_of("0123456789", first), line.size());
    if (past - first > 10) return false;
    const long long magnitude = std::stoll("0" + line.substr(first, past - first));
    return magnitude <= 2147483647LL + (isNegative ? 1 : 0);
  }
};

struct ReferenceTag {
  std::string name;
  bool enabled;

  friend bool operator==(const ReferenceTag& a, const ReferenceTag& b) {
    return a.name == b.name && a.enabled == b.enabled;
  }
  friend void PrintTo(const ReferenceTag& tag, std::ostream* out) {
    *out << tag.name << (tag.enabled ? " yes" : " no");
  }
};

/// The tags that a file defines, by their ids.
inline std::map<int, ReferenceTag> TagsOfFile(const std::string& contents) {
  constexpr std::size_t kPiece = 1022;
  std::map<int, ReferenceTag> tags;
  for (std::size_t start = 0; start < contents.size();) {
    const std::size_t lineEnd = std::min(contents.find('\n', start), contents.size() - 1);
    const std::size_t length = std::min(lineEnd + 1 - start, kPiece);
    const ScannedTagLine line(contents.substr(start, length));
    start += length;
    if (line.fields < 2) continue;
    if (line.fields == 3 && std::string(line.name) == "Output_File") {
      tags[0] = {"", false};
    } else if (line.id >= 0 && line.id <= 255) {
      tags[line.id] = {line.name, std::string(line.value) == "yes"};
    }
  }
  return tags;
}

}  // namespace qv::tests
