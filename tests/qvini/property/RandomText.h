#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace qv::tests {

/// Texts that are the same for the same seed wherever they are made.
class RandomText {
 public:
  explicit RandomText(std::uint32_t seed) : random_(seed) {}

  /// A number below bound.
  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_()) % bound; }

  /// One of these.
  template <class Item>
  const Item& oneOf(const std::vector<Item>& items) {
    return items[below(static_cast<std::uint32_t>(items.size()))];
  }

  /// As many fragments as told, most of them letters, without anything that files treat specially.
  std::string tame(std::uint32_t fragments) { return madeOf(kTame, fragments); }

  /// The same with everything that files treat specially, but NUL.
  std::string wild(std::uint32_t fragments) { return madeOf(kWild, fragments); }

  /// Lines that look like something, and some that do not.
  std::string file(std::uint32_t lines) {
    std::string text = oneOf(kStarts);
    for (std::uint32_t line = 0; line < lines; ++line) {
      text += oneOf(kLineStarts);
      const std::uint32_t kind = below(8);
      if (kind == 0) text += "[" + wild(below(4)) + "]";
      if (kind == 1) text += name() + " Line" + std::to_string(below(4));
      if (kind > 1) text += name();
      if (kind > 0) text += oneOf(kSeparators) + oneOf(kValueStarts) + wild(below(6));
      text += oneOf(kLineTails) + oneOf(kLineEnds);
    }
    return text;
  }

  /// A short name that comes again soon.
  std::string name() { return oneOf(kNames); }

 private:
  std::string madeOf(const std::vector<std::string>& fragments, std::uint32_t count) {
    std::string text;
    for (std::uint32_t index = 0; index < count; ++index)
      text += oneOf(fragments);
    return text;
  }

  static inline const std::vector<std::string> kTame{
      "a", "b", "c", "d", "E", "F", "g", "7", "0", "-", ".", "/", "x y", "\xC3\xA4", "(", "\\"};
  static inline const std::vector<std::string> kWild{
      "a",      "b",         "A",      "B",     "ab",    "=",        ":",
      ":=",     ";",         "[",      "]",     "\"",    "'",        "\\",
      " ",      "  ",        "\t",     "\n",    "\r",    "\v",       "\f",
      "\"\"",   "''",        "1",      "\x7F",  "\x80",  "\xFF\xFE", "\xEF\xBB\xBF",
      " Line1", " Line0002", "(null)", " Line", "Line1", ","};
  static inline const std::vector<std::string> kNames{
      "a", "A", "b", "B", "ab", "a b", "key", "KEY", "\xE9", "\xC9", " a", "b ", "(null)"};
  static inline const std::vector<std::string> kStarts{
      "", "", "", "", "", "", "\xEF\xBB\xBF", "\xEF\xBB", "\xFF", "[a]\n", "[b]\n", "\xFF\xFE"};
  static inline const std::vector<std::string> kLineStarts{"", "", "", "", " ", "\t", "\f ", ";"};
  static inline const std::vector<std::string> kSeparators{"=",   "=",  "=", " = ", ":",
                                                           " : ", ":=", "",  "=:",  " := "};
  static inline const std::vector<std::string> kValueStarts{"", "", "v", "\"", "'", "a=", " "};
  static inline const std::vector<std::string> kLineTails{"", "", "", "\"", "'", " ", "\t"};
  static inline const std::vector<std::string> kLineEnds{"\n",
                                                         "\n",
                                                         "\n",
                                                         "\r",
                                                         "\r\n",
                                                         "\n\r",
                                                         std::string(1, '\0'),
                                                         std::string("\0\n", 2),
                                                         "\n\n",
                                                         "\r\r",
                                                         "\r\n\r\n",
                                                         ""};

  std::mt19937 random_;
};

}  // namespace qv::tests
