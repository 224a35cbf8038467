#include "tools/common/CommandLine.h"

#include <charconv>
#include <cstdio>
#include <cstring>

#include "tools/common/Printable.h"

namespace qv::tools {

Request RefuseCommandLine(const char* program, const std::string& reason, const std::string& word) {
  std::fprintf(stderr, "%s: %s %s\n", program, reason.c_str(), Quoted(word).c_str());
  return RefuseCommandLine(program);
}

Request RefuseCommandLine(const char* program) {
  std::fprintf(stderr, "Try '%s --help'.\n", program);
  return Request::Refuse;
}

bool ReadNumber(const char* text, int least, int most, int& number) {
  const char* const end = text + std::strlen(text);
  int value = 0;
  const auto [stop, error] = std::from_chars(text, end, value);
  if (error != std::errc() || stop != end || value < least || value > most) return false;
  number = value;
  return true;
}

bool PrintText(const char* program, const std::string& text) {
  const bool isTaken = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (std::fflush(stdout) == 0 && isTaken) return true;
  std::perror(program);
  return false;
}

}  // namespace qv::tools
