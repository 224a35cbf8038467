#pragma once

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qv::tests {

struct IniReferenceEntry {
  std::string name;
  std::string value;
  int line;
  char quote;
};

struct IniReferenceSection {
  std::string name;
  int line;
  std::vector<IniReferenceEntry> entries;
};

/// An INI document kept the slow and obvious way: every look-up walks, every text is a copy. It
/// reads and writes whole texts.
class IniReference {
 public:
  int mergeDuplicates = 1;
  int caseSensitive = 0;
  unsigned maxLineLength = 80;
  char wrapBreakChar = 0;
  unsigned writeFlags = 14;
  unsigned readFlags = 2;
  std::vector<IniReferenceSection> sections;
  int firstBadLine = -1;

  int put(const std::string& sectionName, const std::string& key, const std::string& value,
          char quote) {
    if (Trimmed(sectionName).empty() || Trimmed(key).empty()) return -6;
    IniReferenceSection* section = find(sections, sectionName);
    if (section == nullptr) {
      sections.push_back({Trimmed(sectionName), -1, {}});
      section = &sections.back();
    }
    IniReferenceEntry* entry = mergeDuplicates != 0 ? find(section->entries, key) : nullptr;
    if (entry == nullptr) {
      section->entries.push_back({Trimmed(key), "", -1, 0});
      entry = &section->entries.back();
    }
    entry->value = Trimmed(value);
    entry->quote = quote;
    return 1;
  }

  int read(std::string text) {
    const auto startsWith = [&text](const std::string& mark) {
      return text.compare(0, mark.size(), mark) == 0;
    };
    if (startsWith({"\xFF\xFE\0\0", 4}) || startsWith({"\0\0\xFE\xFF", 4}) ||
        startsWith("\xFF\xFE") || startsWith("\xFE\xFF")) {
      return -3;
    }
    if (startsWith("\xEF\xBB\xBF")) text.erase(0, 3);
    sections.clear();
    firstBadLine = -1;
    current_ = -1;
    const std::vector<std::string> lines = Lines(text);
    for (std::size_t index = 0; index < lines.size(); ++index) {
      const int number = static_cast<int>(index) + 1;
      if (!readLine(lines[index], number) && firstBadLine == -1) firstBadLine = number;
    }
    for (IniReferenceSection& section : sections)
      section.entries = Joined(section.entries);
    return 0;
  }

  /// The text, and whether all of it could be written: a line that cannot be wrapped ends it.
  bool write(std::string& text) const {
    text = (writeFlags & 1U) != 0 ? "\xEF\xBB\xBF" : "";
    const bool blankLinePolicy = (writeFlags & 16U) != 0;
    for (std::size_t index = 0; index < sections.size(); ++index) {
      const IniReferenceSection& section = sections[index];
      const bool made = section.line == -1;
      if (blankLinePolicy && made && index > 0 && sections[index - 1].line != -1) text += "\n";
      if (section.name != "(null)") text += "[" + section.name + "]\n";
      for (const IniReferenceEntry& entry : section.entries) {
        std::vector<std::string> pieces;
        if (!cut(entry, pieces)) return false;
        text += linesOf(entry, pieces);
      }
      if (!blankLinePolicy || (made && section.name != "(null)")) text += "\n";
    }
    return true;
  }

  /// The names of all that makes the document come back other than it is when it is written and
  /// read with the settings that it has. With an empty result it comes back equal.
  std::set<std::string> losses() const {
    std::set<std::string> result;
    for (std::size_t index = 0; index < sections.size(); ++index) {
      const IniReferenceSection& section = sections[index];
      if (HasLineEnd(section.name)) result.insert("line end in a name");
      if (Has(section.name, "]")) result.insert("bracket in a section name");
      for (std::size_t other = 0; other < index; ++other)
        if (mergeDuplicates != 0 && same(sections[other].name, section.name))
          result.insert("duplicate names merged");
      if (section.name == "(null)") {
        if ((readFlags & 8U) == 0) result.insert("(null) section without read flag 8");
        if (index != 0) result.insert("(null) section behind another");
        if (section.entries.empty()) result.insert("(null) section without entries");
        if (index == 0 && !section.entries.empty() && (writeFlags & 1U) == 0 &&
            StartsLikeMark(section.entries[0].name)) {
          result.insert("file begins like a byte order mark");
        }
      }
      for (std::size_t entry = 0; entry < section.entries.size(); ++entry) {
        addLossesOf(section.entries[entry], result);
        for (std::size_t other = 0; other < entry; ++other)
          if (mergeDuplicates != 0 &&
              same(section.entries[other].name, section.entries[entry].name))
            result.insert("duplicate names merged");
      }
    }
    return result;
  }

  /// Every name that losses can give.
  static std::set<std::string> LossNames() {
    return {"(null) section behind another",
            "(null) section without entries",
            "(null) section without read flag 8",
            "bracket in a section name",
            "duplicate names merged",
            "file begins like a byte order mark",
            "key like a comment",
            "key like a continuation",
            "key like a header",
            "line end in a name",
            "line end in a value",
            "quotes of the value's own",
            "quotes that reading does not take off",
            "separator in a key",
            "unquoted empty value",
            "unquoted value cut at a blank",
            "unquoted white space at the ends"};
  }

  /// What a look-up finds, null when there is none.
  const IniReferenceSection* section(const std::string& name) { return find(sections, name); }
  const IniReferenceEntry* entry(const std::string& sectionName, const std::string& key) {
    IniReferenceSection* found = find(sections, sectionName);
    return found == nullptr ? nullptr : find(found->entries, key);
  }

  /// Text without the white space around it.
  static std::string Trimmed(const std::string& text) { return std::string(TrimmedView(text)); }

  /// The lines of a text; the last one needs no line end.
  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines(1);
    for (std::size_t index = 0; index < text.size(); ++index) {
      if (text[index] != '\n' && text[index] != '\r' && text[index] != '\0') {
        lines.back() += text[index];
        continue;
      }
      const std::string pair = text.substr(index, 2);
      if (pair == "\r\n" || pair == "\n\r") ++index;
      lines.emplace_back();
    }
    return lines;
  }

 private:
  static constexpr const char* kWhiteSpace = " \t\n\v\f\r";

  static std::string_view TrimmedView(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) return "";
    return text.substr(first, text.find_last_not_of(kWhiteSpace) + 1 - first);
  }

  static bool Has(const std::string& text, const std::string& any) {
    return text.find_first_of(any) != std::string::npos;
  }

  static bool HasLineEnd(const std::string& text) { return Has(text, "\r\n"); }

  static bool StartsLikeMark(const std::string& text) {
    return text.compare(0, 3, "\xEF\xBB\xBF") == 0 || text.compare(0, 2, "\xFF\xFE") == 0 ||
           text.compare(0, 2, "\xFE\xFF") == 0;
  }

  static char LowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
  }

  static bool SameButForCase(char one, char other) { return LowerCase(one) == LowerCase(other); }

  /// Makes no strings: a document of thousands of keys compares millions of names.
  bool same(const std::string& one, const std::string& other) const {
    if (caseSensitive != 0) return one == other;
    const std::string_view left = TrimmedView(one);
    const std::string_view right = TrimmedView(other);
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), SameButForCase);
  }

  template <class Item>
  Item* find(std::vector<Item>& items, const std::string& name) const {
    for (Item& item : items)
      if (same(item.name, name)) return &item;
    return nullptr;
  }

  /// False for a bad line.
  bool readLine(const std::string& line, int number) {
    const std::string text = Trimmed(line);
    if (text.empty() || text[0] == ';') return true;
    return text[0] == '[' ? readHeader(text, number) : readEntry(text, number);
  }

  bool readHeader(const std::string& text, int number) {
    const std::size_t end = text.find(']');
    if (end == std::string::npos) return false;
    const std::string name = Trimmed(text.substr(1, end - 1));
    if (name.empty()) return false;
    IniReferenceSection* section = mergeDuplicates != 0 ? find(sections, name) : nullptr;
    if (section == nullptr) {
      sections.push_back({name, number, {}});
      section = &sections.back();
    }
    section->line = number;
    current_ = static_cast<int>(section - sections.data());
    return true;
  }

  bool readEntry(const std::string& text, int number) {
    const bool colons = (readFlags & 8U) != 0;
    const std::size_t separator = text.find_first_of(colons ? "=:" : "=");
    if (separator == std::string::npos) return false;
    const std::string name = Trimmed(text.substr(0, separator));
    const std::size_t width = text.compare(separator, 2, ":=") == 0 ? 2 : 1;
    std::string value = Trimmed(text.substr(separator + width));
    if (name.empty() || (value.empty() && (readFlags & 1U) == 0)) return false;
    const char quote = recognizedQuote(value);
    if (quote != 0) value = value.substr(1, value.size() - 2);

    if (current_ == -1) {
      if (!colons) return true;
      sections.push_back({"(null)", number, {}});
      current_ = 0;
    }
    std::vector<IniReferenceEntry>& entries = sections[static_cast<std::size_t>(current_)].entries;
    IniReferenceEntry* entry = mergeDuplicates != 0 ? find(entries, name) : nullptr;
    if (entry == nullptr) {
      entries.push_back({name, value, number, quote});
    } else {
      entry->value = value;
      entry->quote = quote;
      entry->line = number;
    }
    return true;
  }

  char recognizedQuote(const std::string& value) const {
    if (value.size() < 2 || value.front() != value.back()) return 0;
    if (value.front() == '"' && (readFlags & 2U) != 0) return '"';
    if (value.front() == '\'' && (readFlags & 4U) != 0) return '\'';
    return 0;
  }

  /// Number behind " Line" at the end of a name, and the name before it; -1 when there is none.
  static long long Continuation(const std::string& name, std::string& base) {
    const std::size_t mark = name.rfind(" Line");
    if (mark == std::string::npos) return -1;
    std::string digits = name.substr(mark + 5);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return -1;
    while (digits.size() > 1 && digits[0] == '0')
      digits.erase(0, 1);
    if (digits.size() > 10 || std::stoll(digits) > 4294967295LL) return -1;
    base = Trimmed(name.substr(0, mark));
    return std::stoll(digits);
  }

  static std::vector<IniReferenceEntry> Joined(const std::vector<IniReferenceEntry>& entries) {
    std::vector<IniReferenceEntry> result;
    bool running = false;
    for (const IniReferenceEntry& entry : entries) {
      std::string base;
      const long long number = Continuation(entry.name, base);
      if (number == 1) {
        result.push_back({base, entry.value, entry.line, entry.quote});
        running = true;
      } else if (number != -1 && running) {
        result.back().value += entry.value;
      } else {
        result.push_back(entry);
        running = false;
      }
    }
    return result;
  }

  std::string separator() const { return (writeFlags & 8U) != 0 ? " = " : "="; }

  bool fits(const IniReferenceEntry& entry) const {
    const std::size_t length =
        entry.name.size() + separator().size() + entry.value.size() + (entry.quote != 0 ? 2 : 0);
    return maxLineLength == UINT_MAX || length <= maxLineLength;
  }

  /// The pieces of a value that must be wrapped, none for one that need not; false when it cannot
  /// be.
  bool cut(const IniReferenceEntry& entry, std::vector<std::string>& pieces) const {
    if (fits(entry)) return true;
    const long long room = static_cast<long long>(maxLineLength) -
                           static_cast<long long>(entry.name.size()) - (entry.quote != 0 ? 14 : 12);
    if (room < 1) return false;
    std::string rest = entry.value;
    while (rest.size() > static_cast<std::size_t>(room)) {
      std::string piece = rest.substr(0, static_cast<std::size_t>(room));
      if (wrapBreakChar != 0) {
        const std::size_t last = piece.rfind(wrapBreakChar);
        if (last == std::string::npos) return false;
        piece.resize(last + 1);
      }
      rest.erase(0, piece.size());
      pieces.push_back(piece);
    }
    if (!rest.empty()) pieces.push_back(rest);
    return true;
  }

  std::string linesOf(const IniReferenceEntry& entry,
                      const std::vector<std::string>& pieces) const {
    const std::string quote(entry.quote != 0 ? 1 : 0, entry.quote);
    if (pieces.empty()) return entry.name + separator() + quote + entry.value + quote + "\n";
    std::string text;
    for (std::size_t index = 0; index < pieces.size(); ++index) {
      std::string number = std::to_string(index + 1);
      while (number.size() < 4)
        number.insert(0, "0");
      text += entry.name + " Line" + number + separator() + quote + pieces[index] + quote + "\n";
    }
    return text;
  }

  void addLossesOf(const IniReferenceEntry& entry, std::set<std::string>& result) const {
    if (HasLineEnd(entry.name)) result.insert("line end in a name");
    if (Has(entry.name, "=")) result.insert("separator in a key");
    if (Has(entry.name, ":") && (readFlags & 8U) != 0) result.insert("separator in a key");
    if (entry.name[0] == '[') result.insert("key like a header");
    if (entry.name[0] == ';') result.insert("key like a comment");
    std::string base;
    if (Continuation(entry.name, base) != -1) result.insert("key like a continuation");

    if (HasLineEnd(entry.value)) result.insert("line end in a value");
    if (entry.quote != 0) {
      const unsigned flag = entry.quote == '"' ? 2U : entry.quote == '\'' ? 4U : 0U;
      if ((readFlags & flag) == 0) result.insert("quotes that reading does not take off");
      return;
    }
    std::vector<std::string> pieces;
    cut(entry, pieces);
    if (pieces.empty()) {
      if (entry.value.empty() && (readFlags & 1U) == 0) result.insert("unquoted empty value");
      if (entry.value != Trimmed(entry.value)) result.insert("unquoted white space at the ends");
      pieces.push_back(entry.value);
    } else {
      for (const std::string& piece : pieces)
        if (piece != Trimmed(piece)) result.insert("unquoted value cut at a blank");
    }
    for (const std::string& piece : pieces)
      if (recognizedQuote(piece) != 0) result.insert("quotes of the value's own");
  }

  int current_ = -1;  ///< section that entries go to while reading
};

}  // namespace qv::tests
