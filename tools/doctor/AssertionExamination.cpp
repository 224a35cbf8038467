#include "tools/doctor/AssertionExamination.h"

#include <filesystem>

#include "kit/osdep/INIFileManager.h"
#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"
#include "tools/common/SmallFile.h"

namespace qv::tools::doctor {
namespace {

constexpr char kFile[] = "vantis.ini";
constexpr char kSection[] = "NVE";
constexpr char kKey[] = "ShowReleaseAsserts";

void JudgeFile(const FileFacts& facts, Section& section) {
  const std::string& path = facts.path;
  if (const SmallFile contents(facts); !contents.failure.empty()) {
    section.wrong(
        "Release assertions are off: " + Quoted(path) + " cannot be read: " + contents.failure,
        kLetItRead);
    return;
  }
  kit::osdep::INIFileManager file(kFile, kSection);
  bool isOn = false;
  const bool isSet = file.read(kSection, kKey, isOn);
  section.facts["on"] = isOn;
  if (isOn) {
    section.note("Release assertions are on, by " + Quoted(path) +
                 ": a server started here prints on standard error what went wrong inside");
  } else if (isSet) {
    section.ok("Release assertions are off, by " + Quoted(path));
  } else if (file.keyPresent(kSection, kKey)) {
    section.wrong("Release assertions are off: ShowReleaseAsserts in " + Quoted(path) +
                      " is neither True nor False",
                  "Write True or False there, or remove the entry.");
  } else {
    section.note(
        "Release assertions are off: " + Quoted(path) + " has no ShowReleaseAsserts in section NVE",
        "To switch them on, write ShowReleaseAsserts = True below [NVE].");
  }
}

}  // namespace

Section ExamineAssertions() {
  Section section{"assertions", "Release assertions"};
  std::error_code ignored;
  const std::string path = (std::filesystem::current_path(ignored) / kFile).string();
  const FileFacts file(path);
  section.facts = file.json();
  section.facts["on"] = false;
  if (file.isHidden()) {
    section.wrong(Quoted(path) + " is " + file.kindText(), kShowIt);
  } else if (file.isMissing()) {
    section.ok("Release assertions are off: there is no " + Quoted(path));
  } else if (!file.isRegular()) {
    section.wrong("Release assertions are off: " + Quoted(path) + " is " + file.kindText(),
                  "Put a file there, or nothing.");
  } else {
    JudgeFile(file, section);
  }
  return section;
}

}  // namespace qv::tools::doctor
