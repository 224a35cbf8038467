#include "tools/doctor/Rendering.h"

#include <algorithm>

#include "tools/common/Printable.h"
#include "tools/doctor/Json.h"

namespace qv::tools::doctor {
namespace {

/// How a level is told to machines and, in one width, to people.
struct LevelText {
  const char* name;
  const char* mark;
};

const LevelText& TextOf(Level level) {
  static constexpr LevelText kOk{"ok", "  ok     "};
  static constexpr LevelText kNote{"note", "  note   "};
  static constexpr LevelText kWrong{"wrong", "  WRONG  "};
  if (level == Level::Ok) return kOk;
  return level == Level::Note ? kNote : kWrong;
}

std::string Sentence(const Finding& finding) {
  std::string text = TextOf(finding.level).mark + finding.text + ".\n";
  if (!finding.advice.empty()) text += "         -> " + finding.advice + "\n";
  return text;
}

bool IsShown(const Listing& listing, bool isVerbose) {
  return listing.shown == Shown::Always || (listing.shown == Shown::Verbosely) == isVerbose;
}

std::string Lines(const Listing& listing) {
  std::string text = "  " + listing.title + ":\n";
  for (const std::string& line : listing.lines)
    text += "    | " + line + "\n";
  return text;
}

std::string Verdict(const Diagnosis& diagnosis) {
  const int wrong = diagnosis.count(Level::Wrong);
  const int notes = diagnosis.count(Level::Note);
  const std::string known = notes == 0 ? ""
                            : notes == 1
                                ? " One thing is worth knowing."
                                : " " + std::to_string(notes) + " things are worth knowing.";
  if (wrong == 0) return "Healthy." + known + "\n";
  if (wrong == 1) return "One thing is wrong." + known + "\n";
  return std::to_string(wrong) + " things are wrong." + known + "\n";
}

Fact FactsOf(const Section& section) {
  Fact findings = Fact::list();
  for (const Finding& finding : section.findings) {
    findings.add({{"level", TextOf(finding.level).name},
                  {"text", finding.text},
                  {"advice", finding.advice}});
  }
  return {{"name", section.name},
          {"title", section.title},
          {"findings", findings},
          {"facts", section.facts}};
}

}  // namespace

int Diagnosis::count(Level level) const {
  int count = 0;
  for (const Section& section : sections) {
    count += static_cast<int>(
        std::count_if(section.findings.begin(), section.findings.end(),
                      [level](const Finding& finding) { return finding.level == level; }));
  }
  return count;
}

std::string RenderPage(const Diagnosis& diagnosis, bool isVerbose) {
  std::string page = "qvsslinit-doctor on " + Printable(diagnosis.library) + "\n";
  for (const Section& section : diagnosis.sections) {
    page += "\n" + section.title + "\n";
    for (const Finding& finding : section.findings)
      page += Sentence(finding);
    for (const Listing& listing : section.listings) {
      if (IsShown(listing, isVerbose)) page += Lines(listing);
    }
  }
  return page + "\n" + Verdict(diagnosis);
}

std::string RenderJson(const Diagnosis& diagnosis) {
  Fact sections = Fact::list();
  for (const Section& section : diagnosis.sections)
    sections.add(FactsOf(section));
  const Fact whole{{"library", diagnosis.library},
                   {"healthy", diagnosis.isHealthy()},
                   {"wrong", diagnosis.count(Level::Wrong)},
                   {"notes", diagnosis.count(Level::Note)},
                   {"sections", sections}};
  return ToJsonPage(whole) + "\n";
}

}  // namespace qv::tools::doctor
