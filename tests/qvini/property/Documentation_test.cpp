#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>

#include "qvini/qvini.h"
#include "tests/qvini/property/Document.h"

using qv::tests::Document;

namespace {

/// What the library makes of a line, in the words of the table of lines.
std::string MeaningOf(const std::string& line, unsigned flags) {
  const Document document;
  document->readFlags = kIniReadDoubleQuotes | flags;
  if (document.read("[s]\n" + line + "\n") != 0) return "refused";
  if (document->firstBadLine != kIniNoLine) return "bad line";
  const char* name = nullptr;
  if (IniNthItemName(document.get(), "s", 1, &name) == 1) {
    std::string value = document.value("s", name);
    const std::string unquoted = "[s]\n" + std::string(name) + " = " + value + "\n\n";
    const std::string tail = document.written() == unquoted ? "" : ", quoted";
    if (value.empty()) return "`" + std::string(name) + "` is empty" + tail;
    const bool blanks = value.front() == ' ' && value.back() == ' ';
    if (blanks) value = value.substr(1, value.size() - 2);
    return "`" + std::string(name) + "` is `" + value + "`" + (blanks ? " between blanks" : "") +
           tail;
  }
  const std::string text = document.written();
  if (text == "[s]\n\n") return "comment";
  return "section `" + text.substr(6, text.find("]\n", 6) - 6) + "`";
}

}  // namespace

TEST(TheDocumentation, IsRightAboutEveryLine) {
  std::ifstream file(QV_INI_FORMAT_DOCUMENTATION);
  const std::regex row(R"(\| `(.*)` \| (\d*) ?\| (.*) \|)");
  bool inTable = false;
  int rows = 0;
  for (std::string line; std::getline(file, line);) {
    if (line == "| Line | Flags | Is |") inTable = true;
    if (line.empty()) inTable = false;
    std::smatch match;
    if (!inTable || line[2] != '`') continue;
    ASSERT_TRUE(std::regex_match(line, match, row)) << line;
    const unsigned flags = static_cast<unsigned>(std::atoi(match[2].str().c_str()));
    EXPECT_EQ(MeaningOf(match[1], flags), match[3]) << line;
    ++rows;
  }
  EXPECT_GT(rows, 30);
}
