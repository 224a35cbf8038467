#include "tools/doctor/EngineVariables.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "engine/EngineSettings.h"
#include "kit/StringBase.h"
#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"
#include "tools/doctor/StoreAccess.h"

namespace qv::tools::doctor {
namespace {

using traceengine::EngineSettings;

constexpr char kNoPath[] = "is no absolute path";
constexpr char kGivePath[] = "Set it to a path that begins with a slash, or not at all.";

bool IsBlocks(const char* value) {
  return EngineSettings::BlocksIn(value) != 0;
}

/// Whether value has its way: "yes" is what happens without it, too.
bool IsAnswer(const char* value) {
  return EngineSettings::HidesTagNames(value) || std::string(value) == "yes";
}

std::string WhyNotMade(const std::string& path) {
  const FileFacts directory(Directory(path).empty() ? "/" : Directory(path));
  if (!directory.isDirectory()) {
    return Quoted(directory.path) + ", which is to hold it, is " + directory.kindText();
  }
  if (MayCreateIn(directory.path)) return {};
  return "this user may not make it in " + Quoted(directory.path) + " (" + directory.accessText() +
         ")";
}

/// Why the file cannot be opened for appending, nor made; empty when it can.
std::string WhyNotOpened(const std::string& path) {
  const FileFacts file(path);
  if (file.isMissing()) return WhyNotMade(path);
  if (file.isLink && file.error == ENOENT) {
    // What it leads to is made.
    const bool isAbsolute = EngineSettings::IsPath(file.linkTarget.c_str());
    const std::string target = (isAbsolute ? "" : Directory(path) + "/") + file.linkTarget;
    const std::string reason = WhyNotOpened(target);
    return reason.empty() ? reason : "it is a link to " + Quoted(target) + ", and " + reason;
  }
  if (!file.isThere() || file.isDirectory() || S_ISSOCK(file.mode))
    return "it is " + file.kindText();
  if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0) return {};
  return "this user may not write to it (" + file.accessText() + ")";
}

class Judge {
 public:
  explicit Judge(Section& section) : section_(section) {}

  /// Where the variable is set, and to something: whether it is taken, and what happens instead.
  void variable(const char* name, bool (*isTaken)(const char*), const std::string& fault,
                const std::string& instead, const char* advice) {
    const std::string value = Value(name);
    if (value.empty()) return;
    const bool isUsable = isTaken(value.c_str());
    add(name, value, isUsable ? std::string() : fault);
    if (isUsable) return;
    section_.note(
        name + (" is " + Quoted(value)) + ", which " + fault + ", and is ignored: " + instead,
        advice);
  }

  void output() {
    static constexpr char kName[] = "QV_TRACE_OUTPUT";
    const std::string path = Value(kName);
    if (path.empty()) return goesTo("standard error");
    if (!EngineSettings::IsPath(path.c_str())) {
      return variable(kName, EngineSettings::IsPath, kNoPath, "the trace goes to standard error",
                      kGivePath);
    }
    const std::string reason = WhyNotOpened(path);
    add(kName, path, reason);
    if (reason.empty()) return goesTo(Quoted(path));
    section_.note(kName + (" is " + Quoted(path)) + ", and all records are lost, for " + reason,
                  "Name a file that the server's user may write to or make, in a directory that is "
                  "there.");
  }

  const Fact& facts() const { return facts_; }

 private:
  static std::string Value(const char* name) {
    const char* const value = ::secure_getenv(name);
    return value != nullptr ? value : "";
  }
  void goesTo(const std::string& place) {
    section_.ok("In this environment the trace goes to " + place);
  }
  void add(const char* name, const std::string& value, const std::string& reason) {
    facts_.add(
        {{"variable", name}, {"value", value}, {"usable", reason.empty()}, {"reason", reason}});
  }

  Section& section_;
  Fact facts_ = Fact::list();
};

}  // namespace

void JudgeEngineVariables(Section& section) {
  const EngineSettings defaults;
  Judge judge(section);
  judge.output();
  judge.variable("QV_TRACE_CONFIG_DIR", EngineSettings::IsPath, kNoPath,
                 "the tag files are in " + Quoted(kit::String(defaults.configDirectory).c_str()),
                 kGivePath);
  judge.variable(
      "QV_TRACE_BLOCKS", IsBlocks,
      "is no number from 1 to " + std::to_string(EngineSettings::kMostBlocks) + " in digits alone",
      std::to_string(defaults.blocks) + " records may wait",
      "Set it to such a number, or not at all.");
  judge.variable("QV_TRACE_TAG_NAMES", IsAnswer, "is not 'no'",
                 "records bear the name of their tag",
                 "Set it to 'no', spelt like this, or not at all.");
  section.facts["variables"] = judge.facts();
}

}  // namespace qv::tools::doctor
