#include "tools/doctor/TagFileExamination.h"

#include <unistd.h>

#include <map>
#include <sstream>

#include "kit/StringBase.h"
#include "kit/osdep/path.h"
#include "source/TraceTagIds.h"
#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"
#include "tools/common/SmallFile.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/Probes.h"
#include "tools/doctor/TagLines.h"

namespace qv::tools::doctor {
namespace {

struct Tag {
  std::string name;
  bool isOn;
};

/// The table as the library prints it: "   1) yes : RefCount".
std::map<int, Tag> ReadTable(const std::string& printed) {
  std::map<int, Tag> table;
  std::istringstream lines(printed);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    int id = 0;
    char parenthesis = '\0';
    std::string value;
    std::string colon;
    std::string name;
    if (fields >> id >> parenthesis >> value >> colon) {
      fields >> name;
      table[id] = {name, value == "yes"};
    }
  }
  return table;
}

void JudgeTable(const std::map<int, Tag>& table, Section& section) {
  Fact tags = Fact::list();
  Listing listing{"Tags as the library reads them", {}};
  for (const auto& [id, tag] : table) {
    tags.add({{"id", id}, {"name", tag.name}, {"on", tag.isOn}});
    listing.lines.push_back(std::to_string(id) + (tag.isOn ? "  on   " : "  off  ") +
                            (tag.name.empty() ? "(no name)" : Printable(tag.name)));
  }
  section.facts["tags"] = tags;
  if (!listing.lines.empty()) section.listings.push_back(listing);

  std::map<int, Tag> others = table;
  std::string off;
  for (const int id : {qvsslinit::kTraceReferenceCount, qvsslinit::kTraceInitializerScopes,
                       qvsslinit::kTraceCertificate, qvsslinit::kTraceCreatorScopes}) {
    others.erase(id);
    const auto tag = table.find(id);
    if (tag == table.end() || !tag->second.isOn) {
      off += (off.empty() ? "" : ", ") + std::to_string(id);
    }
  }
  section.ok(off.empty() ? "All tags of the library, 1, 4, 5 and 6, are on"
                         : "Of the library's tags 1, 4, 5 and 6 these are off: " + off);
  for (const auto& [id, tag] : others) {
    if (tag.isOn)
      section.note("Tag " + std::to_string(id) + " is on, and the library has none such");
  }
}

// More than 256 tags with names of full length take.
constexpr std::size_t kMostTable = 256U << 10U;

/// Whether the file can be taken for one that was written to hold tags. Whoever may put a link
/// there must not have other files shown to him by a doctor with more rights.
bool MayQuote(const FileFacts& file, const std::string& text) {
  const bool isOwn = file.uid == 0 || file.uid == ::geteuid();
  return !file.isLink && isOwn && text.find("-----BEGIN") == std::string::npos;
}

}  // namespace

Section ExamineTagFile(const std::string& directory, int timeLimit) {
  Section section{"tags", "Tag file"};
  const std::string path =
      kit::osdep::path::Join(kit::String(directory.c_str()), "qvsslinit.cfg").c_str();
  const FileFacts file(path);
  section.facts = file.json();
  if (file.isHidden()) {
    section.wrong(Quoted(path) + " is " + file.kindText(), kShowIt);
    return section;
  }
  if (file.isMissing()) {
    section.note(Quoted(path) + " is not there: every tag is off, and errors alone are traced",
                 "To see more, write it, a line for each tag: Initializer : 4 : yes");
    return section;
  }
  if (!file.isRegular()) {
    section.wrong(Quoted(path) + " is " + file.kindText() + ": every tag is off",
                  "Put a file there, a line for each tag: Initializer : 4 : yes");
    return section;
  }
  const SmallFile contents(file);
  if (!contents.failure.empty()) {
    section.wrong(Quoted(path) + " cannot be read: " + contents.failure, kLetItRead);
    return section;
  }
  section.ok(Quoted(path) + ", " + file.accessText());
  const ChildResult child = RunChild({kTagsJob, directory}, timeLimit, kMostTable);
  if (!child.endedWell()) {
    section.wrong("A process that reads it " + child.endText(), "Write the file anew.");
    return section;
  }
  const bool mayQuote = MayQuote(file, contents.text);
  std::map<int, Tag> table = ReadTable(child.output);
  if (!mayQuote) {
    for (auto& entry : table)
      entry.second.name.clear();
    section.note(
        "Nothing of its text is shown: it is a link, belongs to another user, or holds a "
        "key or a certificate",
        "Put a file of the server's user there.");
  }
  JudgeTable(table, section);
  if (!contents.isCut) {
    JudgeTagLines(contents.text, mayQuote, section);
  } else {
    JudgeTagLines(contents.text.substr(0, contents.text.rfind('\n') + 1), mayQuote, section);
    section.note("Its lines are judged up to the first megabyte alone; the library reads them all",
                 "See whether it is the tag file at all.");
  }
  return section;
}

}  // namespace qv::tools::doctor
