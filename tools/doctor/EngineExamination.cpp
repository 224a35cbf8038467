#include "tools/doctor/EngineExamination.h"

#include "tools/common/Printable.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/EngineVariables.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {
namespace {

constexpr char kReplace[] =
    "Put a trace engine there that is built for this library, or remove the file: the library "
    "runs without.";

void JudgePlaces(const ChildResult& child, Section& section) {
  Fact places = Fact::list();
  std::string missing;
  for (const Fact& message : child.messages) {
    const std::string place = TextIn(message, "place");
    const std::string result = TextIn(message, "result");
    if (place.empty()) continue;
    places.add(message);
    if (result == "missing") {
      missing += (missing.empty() ? "" : ", ") + Printable(place);
    } else if (result == "engine") {
      section.ok("The library takes the engine " + Quoted(place));
    } else {
      section.wrong(Quoted(place) + " is no trace engine: " + Printable(result), kReplace);
    }
  }
  section.facts["places"] = places;
  if (!missing.empty()) section.ok("Looked for without success: " + missing);
}

void JudgeEnd(const ChildResult& child, Section& section) {
  if (child.endedWell()) return;
  const std::string trying = child.text("trying");
  const std::string what = trying.empty()
                               ? "A process that looks for it " + child.endText()
                               : Quoted(trying) + ": a process that loads it " + child.endText();
  section.wrong(what, kReplace);
}

}  // namespace

EngineExamination::EngineExamination(const std::string& library, int timeLimit) {
  const ChildResult child = RunChild({kEngineJob, library}, timeLimit);
  JudgePlaces(child, section);
  JudgeEnd(child, section);
  isFound = child.find("config_directory") != nullptr;
  if (isFound) {
    configDirectory = child.text("config_directory");
    const bool showsTagNames = child.isTrue("shows_tag_names");
    section.facts["engine"] = {{"shows_tag_names", showsTagNames},
                               {"config_directory", configDirectory}};
    section.ok("It has the tag files in " + Quoted(configDirectory) +
               (showsTagNames ? " and wants tag names in the records" : " and wants no tag names"));
  }
  section.facts["variables"] = nullptr;
  // Engines of others read variables of their own.
  if (child.isTrue("is_ours")) JudgeEngineVariables(section);
  section.facts["found"] = isFound;
  if (!isFound) {
    section.note("There is no usable trace engine: the library traces nothing",
                 "To see traces of a server, put libqv_traceengine.dylib beside the library.");
  }
  section.facts["printed"] = child.output;
  if (!child.output.empty()) {
    section.listings.push_back({"Printed by the trace engine", child.printedLines()});
  }
}

}  // namespace qv::tools::doctor
