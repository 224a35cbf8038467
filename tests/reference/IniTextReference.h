#pragma once

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "tests/reference/IniReference.h"

// Texts of INI values, with nothing but strings. Not for programs that set a locale.
namespace qv::tests {

/// Text with its escapes undone: a backslash goes, and n, t and x with two digits behind it become
/// the byte that they stand for.
inline std::string UnescapedReference(const std::string& text) {
  const auto isDigit = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\\') {
      result += text[index];
      continue;
    }
    const std::string behind = text.substr(index + 1, 3);
    if (behind.size() == 3 && behind[0] == 'x' && isDigit(behind[1]) && isDigit(behind[2])) {
      result += static_cast<char>(std::stoi(behind.substr(1), nullptr, 16));
      index += 3;
    } else if (!behind.empty()) {
      result += behind[0] == 'n' ? '\n' : behind[0] == 't' ? '\t' : behind[0];
      index += 1;
    }
  }
  return result;
}

/// Text with an escape for everything that has one.
inline std::string EscapedReference(const std::string& text) {
  static const std::string digits = "0123456789abcdef";
  std::string result;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '\t') {
      result += "\\t";
    } else if (character == '\n') {
      result += "\\n";
    } else if (character == '"' || character == '\\') {
      result += std::string("\\") + character;
    } else if (byte < 32 || byte == 127) {
      result += std::string("\\x") + digits[byte / 16U] + digits[byte % 16U];
    } else {
      result += character;
    }
  }
  return result;
}

/// What a decimal text stands for, if it does and 32 bits hold its digits.
struct DecimalReference {
  bool hasMinus;
  std::int64_t value;
};

inline std::optional<DecimalReference> ReadDecimalReference(const std::string& text) {
  std::string digits = IniReference::Trimmed(text);
  const bool hasMinus = !digits.empty() && digits[0] == '-';
  if (hasMinus || (!digits.empty() && digits[0] == '+')) digits.erase(0, 1);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return {};
  while (digits.size() > 1 && digits[0] == '0')
    digits.erase(0, 1);
  if (digits.size() > 10 || std::stoll(digits) > 0xFFFFFFFFLL) return {};
  const std::int64_t magnitude = std::stoll(digits);
  return DecimalReference{hasMinus, hasMinus ? -magnitude : magnitude};
}

/// The double that a text stands for: what the C library takes whole and without an error.
inline std::optional<double> ReadDoubleReference(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  if (errno != 0 || end == text.c_str() || *end != '\0') return {};
  return value;
}

/// The same of "true" and "false" in any case, with white space around them.
inline std::optional<bool> ReadBooleanReference(const std::string& text) {
  std::string word = IniReference::Trimmed(text);
  for (char& character : word)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character + 32);
  if (word == "true") return true;
  if (word == "false") return false;
  return {};
}

}  // namespace qv::tests
