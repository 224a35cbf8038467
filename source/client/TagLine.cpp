#include "source/client/TagLine.h"

#include <climits>
#include <cstdint>
#include <cstring>

namespace qv::traceengine {
namespace {

/// Walks along a line as the conversions of sscanf do.
class Scanner {
 public:
  explicit Scanner(const char* text) noexcept : next_(text) {}

  /// A run of other than blanks, as far as token has room for it. False at the end of the line.
  bool readToken(char (&token)[TagLine::kTokenLength + 1]) noexcept {
    skipBlanks();
    int length = 0;
    while (length < TagLine::kTokenLength && *next_ != '\0' && !isBlank(*next_))
      token[length++] = *next_++;
    token[length] = '\0';
    return length > 0;
  }

  /// A colon, with or without blanks before it.
  bool readColon() noexcept {
    skipBlanks();
    if (*next_ != ':') return false;
    ++next_;
    return true;
  }

  /// A decimal number, with or without a sign. False when there is none or it fits no int.
  bool readNumber(int& number) noexcept {
    skipBlanks();
    const bool negative = *next_ == '-';
    if (negative || *next_ == '+') ++next_;
    if (!isDigit(*next_)) return false;
    std::int64_t value = 0;
    for (; isDigit(*next_); ++next_) {
      value = value * 10 + (*next_ - '0');
      if (value > kBeyondInt) value = kBeyondInt;
    }
    if (negative) value = -value;
    if (value < INT_MIN || value > INT_MAX) return false;
    number = static_cast<int>(value);
    return true;
  }

 private:
  // More than any int, of either sign, and ten times as much is still a number.
  static constexpr std::int64_t kBeyondInt = std::int64_t{1} << 40U;

  // The C library's answers depend on the locale.
  static bool isBlank(char c) noexcept { return c != '\0' && std::strchr(" \t\n\v\f\r", c); }
  static bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

  void skipBlanks() noexcept {
    while (isBlank(*next_))
      ++next_;
  }

  const char* next_;
};

}  // namespace

TagLine::TagLine(const char* line) noexcept {
  Scanner scanner(line);
  if (!scanner.readToken(name)) return;
  fields = 1;
  if (!scanner.readColon() || !scanner.readNumber(id)) return;
  fields = 2;
  if (!scanner.readColon() || !scanner.readToken(value)) return;
  fields = 3;
}

}  // namespace qv::traceengine
