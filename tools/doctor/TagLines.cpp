#include "tools/doctor/TagLines.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

#include "source/client/TagLine.h"
#include "tools/common/Printable.h"

namespace qv::tools::doctor {
namespace {

using traceengine::TagLine;

// The library reads longer lines in pieces of this length.
constexpr std::size_t kPiece = 1022;
constexpr int kLastId = 255;
// Of what may be a name or a value; also what is no tag file has no long secrets shown.
constexpr std::size_t kMostShown = 40;
constexpr char kOn[] = "yes";
constexpr char kWriteSo[] = "Write it as 'Name : 1 : yes'.";

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return text;
}

bool Means(const std::string& value, const std::set<std::string>& words) {
  return words.count(Lower(value)) != 0;
}

/// Goes through the lines with what the lines before have defined.
class Judge {
 public:
  Judge(bool mayQuote, Section& section) : section_(section), mayQuote_(mayQuote) {}

  void line(const std::string& text) {
    ++number_;
    if (text.size() > kPiece) {
      wrong("is longer than 1022 characters and is read in pieces, each as a line of its own",
            "Shorten it.");
    }
    for (std::size_t begin = 0; begin < text.size(); begin += kPiece)
      piece(text.substr(begin, kPiece));
  }

  void finish() {
    section_.facts["ignored_lines"] = ignored_;
    if (withoutColon_ == 0) return;
    const std::string first = "Line " + std::to_string(firstWithoutColon_);
    // A file of another kind has many, and what stands in them may be anything.
    section_.note(withoutColon_ == 1 ? first + " defines nothing: it has no colon"
                                     : first + " and " + std::to_string(withoutColon_ - 1) +
                                           " after it define nothing: they have no colon",
                  kWriteSo);
  }

 private:
  void piece(const std::string& text) {
    const TagLine parts(text.c_str());
    if (parts.fields < 2) {
      noDefinition(text, parts);
    } else if (parts.fields == 3 && std::string(parts.name) == "Output_File") {
      outputFile();
    } else if (parts.id < 0 || parts.id > kLastId) {
      ignore("no number from 0 to 255");
      wrong("has the number " + std::to_string(parts.id) + ", which is not from 0 to 255: ignored",
            "The library's tags are 1, 4, 5 and 6.");
    } else {
      definition(text, parts);
    }
  }

  void noDefinition(const std::string& text, const TagLine& parts) {
    const std::size_t first = text.find_first_not_of(" \t\r\n\v\f");
    if (first == std::string::npos) return;
    const bool isComment = text[first] == '#' || text[first] == ';' || text[first] == '/';
    ignore(isComment ? "a comment" : "no definition");
    if (isComment) return;
    if (text.find(':') == std::string::npos) {
      if (withoutColon_++ == 0) firstWithoutColon_ = number_;
      return;
    }
    if (std::string(parts.name).find(':') != std::string::npos) {
      wrong("defines nothing: " + beginning(text) + " has no blank before its first colon",
            kWriteSo);
    } else {
      wrong("defines nothing: " + beginning(text) + " has no number behind its first colon",
            kWriteSo);
    }
  }

  void outputFile() {
    static constexpr char kRemove[] =
        "Remove the line; the trace engine's own settings say where records go.";
    const auto earlier = definedBy_.find(0);
    const std::string text =
        "names an output file, which the library does not have; all that it does is to make tag 0 "
        "a nameless tag that is off";
    if (earlier == definedBy_.end()) {
      note(text, kRemove);
    } else {
      wrong(text + ", in place of the one in line " + std::to_string(earlier->second), kRemove);
    }
    definedBy_[0] = number_;
  }

  void definition(const std::string& text, const TagLine& parts) {
    if (parts.name[0] == '#') {
      wrong("is no comment: it defines the tag " + shown(parts.name, "of that name"),
            "Put a blank behind the '#', or remove the line.");
    }
    const std::string value = parts.value;
    if (parts.fields == 2) {
      // The value, if there is one, never got read.
      if (Lower(text).find(kOn) != std::string::npos) {
        wrong("leaves its tag off: " + beginning(text) + " has no colon between number and value",
              kWriteSo);
      }
    } else if (value != kOn && Means(value, {"yes", "on", "true", "1", "y", "enabled"})) {
      wrong("leaves its tag off: " + shown(value, "its value") +
                " is not 'yes', the only value that means on",
            "Write 'yes'.");
    } else if (value != kOn && !Means(value, {"no", "off", "false", "0", "n", "disabled"})) {
      note("has the value " + shown(value, "of its own") + ", which means off like all but 'yes'");
    }
    const auto [earlier, isNew] = definedBy_.try_emplace(parts.id, number_);
    if (!isNew) {
      note("defines tag " + std::to_string(parts.id) + " again, in place of line " +
           std::to_string(earlier->second));
      earlier->second = number_;
    }
  }

  void ignore(const char* reason) { ignored_.add({{"line", number_}, {"reason", reason}}); }
  /// text, cut where it is long; instead where it is not to be shown.
  std::string shown(const std::string& text, const char* instead) const {
    if (!mayQuote_) return instead;
    return text.size() <= kMostShown ? Quoted(text) : Quoted(text.substr(0, kMostShown)) + "...";
  }
  /// The part of a line that can be a name. What stands behind may be anything.
  std::string beginning(const std::string& text) const {
    const std::string name = text.substr(0, text.find(':'));
    return shown(name.substr(0, name.find_last_not_of(" \t\r") + 1), "it");
  }
  std::string inLine(const std::string& text) const {
    return "Line " + std::to_string(number_) + " " + text;
  }
  void note(const std::string& text, const std::string& advice = {}) {
    section_.note(inLine(text), advice);
  }
  void wrong(const std::string& text, const std::string& advice) {
    section_.wrong(inLine(text), advice);
  }

  Section& section_;
  bool mayQuote_;
  int number_ = 0;
  int withoutColon_ = 0;
  int firstWithoutColon_ = 0;
  /// The line that defined each tag last.
  std::map<int, int> definedBy_;
  Fact ignored_ = Fact::list();
};

}  // namespace

void JudgeTagLines(const std::string& text, bool mayQuote, Section& section) {
  Judge judge(mayQuote, section);
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line))
    judge.line(line);
  judge.finish();
}

}  // namespace qv::tools::doctor
