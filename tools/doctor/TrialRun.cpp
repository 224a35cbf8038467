#include "tools/doctor/TrialRun.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "source/TraceTagIds.h"
#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/Probes.h"
#include "tools/doctor/StoreExamination.h"

namespace qv::tools::doctor {
namespace {

namespace fs = std::filesystem;
/// A directory of our own with a tag file that has every tag on; it goes with the object.
class TagDirectory {
 public:
  TagDirectory() {
    const char* temporary = std::getenv("TMPDIR");
    const bool isSet = temporary != nullptr && *temporary != '\0';
    path_ = std::string(isSet ? temporary : "/tmp") + "/qvsslinit-doctor-XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr) {
      error_ = std::string("no temporary directory can be made: ") + std::strerror(errno) +
               ", for " + Quoted(path_);
      return;
    }
    isMade_ = true;
    std::ofstream file(path_ + "/qvsslinit.cfg");
    file << "RefCount : " << qvsslinit::kTraceReferenceCount << " : yes\n"
         << "Initializer : " << qvsslinit::kTraceInitializerScopes << " : yes\n"
         << "Certificate : " << qvsslinit::kTraceCertificate << " : yes\n"
         << "CertCreator : " << qvsslinit::kTraceCreatorScopes << " : yes\n";
    file.close();
    if (!file) error_ = "no tag file can be written in " + Quoted(path_);
  }
  TagDirectory(const TagDirectory&) = delete;
  TagDirectory& operator=(const TagDirectory&) = delete;
  ~TagDirectory() {
    std::error_code ignored;
    if (isMade_) fs::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }
  /// Why there is none; empty when there is.
  const std::string& error() const { return error_; }

 private:
  std::string path_;
  bool isMade_ = false;
  std::string error_;
};

/// Whether OpenSSL asking for a lock caused the record: a library of the 1.0 series does so by the
/// thousand.
bool IsOfLockCallback(const std::string& record) {
  for (const char* function : {"::xlock |", "::xdynlock"}) {
    if (record.find(function) != std::string::npos) return true;
  }
  return false;
}

void ShowTrace(const ChildResult& child, Section& section) {
  Fact trace = Fact::list();
  Listing all{"Trace", {}, Shown::Verbosely};
  Listing brief{"Trace", {}};
  std::size_t locks = 0;
  std::size_t errors = 0;
  for (const Fact& message : child.messages) {
    const std::string record = TextIn(message, "record");
    if (record.empty()) continue;
    trace.add(message);
    const std::string line = Printable(TextIn(message, "time") + " " + record);
    all.lines.push_back(line);
    if (IsOfLockCallback(record)) {
      ++locks;
    } else {
      brief.lines.push_back(line);
    }
    if (record.find(" | ERROR | ") == std::string::npos) continue;
    ++errors;
  }
  section.facts["trace"] = trace;
  if (errors > 0) {
    section.wrong(errors == 1 ? "One of the records below is an error"
                              : std::to_string(errors) + " of the records below are errors",
                  "See there what did not work.");
  }
  if (all.lines.empty() && child.find("engine_used") != nullptr) {
    section.wrong("The library sent no record, though every tag was on",
                  "Put the file of the installation package back.");
  }
  if (locks > 0) {
    brief.shown = Shown::Briefly;
    brief.title += ", without " + std::to_string(locks) +
                   " records of OpenSSL's lock callbacks (--verbose shows them)";
    section.listings.push_back(all);
  }
  // Without lock callbacks there is nothing that the short form leaves out.
  if (!brief.lines.empty()) section.listings.push_back(brief);
}

void JudgeEngine(const ChildResult& child, Section& section) {
  const bool isUsed = child.find("engine_used") != nullptr;
  section.facts["engine_used"] = isUsed;
  if (isUsed) {
    section.ok("The library traced through the engine that is built into this program");
  } else if (child.find("init") != nullptr) {
    section.wrong("The library did not ask for a trace engine",
                  "This is another library: put the file of the installation package back.");
  }
}

void JudgeInit(const ChildResult& child, Section& section) {
  const bool isDone = child.find("init") != nullptr;
  const bool isReady = child.isTrue("init");
  section.facts["init"] = isDone ? Fact(isReady) : Fact();
  section.facts["uninit"] = child.isTrue("uninit");
  const std::string failure = child.text("failure");
  if (!failure.empty()) {
    section.wrong("The trial was broken off: " + Printable(failure),
                  "See what was found about the library.");
  }
  if (isDone && !isReady) {
    section.wrong("Init gave null: OpenSSL is not ready for a server",
                  "See what was found about OpenSSL, and the errors in the trace.");
  } else if (isReady) {
    section.ok("Init gave a handle: OpenSSL is ready");
  }
  if (child.isTrue("uninit") && isReady) section.ok("Uninit took the handle back");
  if (child.endedWell() || !failure.empty()) return;
  const std::string phase = child.text("phase");
  section.wrong("The process " + child.endText() + " in " +
                    (phase.empty() ? "its beginning" : Printable(phase)),
                "See what was found about OpenSSL: a server would end in the same way.");
}

std::set<std::string> FilesOf(const Section& store) {
  std::set<std::string> files;
  for (const char* kind : {"directories", "files"}) {
    const Fact* entries = store.facts.find(kind);
    if (entries == nullptr) continue;
    for (const Fact& file : entries->items()) {
      if (*file.find("exists") == Fact(true)) files.insert(file.find("path")->text());
    }
  }
  return files;
}

void JudgeStore(const Section& before, const Section& after, const ChildResult& child,
                Section& section) {
  Fact made = Fact::list();
  const std::set<std::string> earlier = FilesOf(before);
  std::string list;
  for (const std::string& file : FilesOf(after)) {
    if (earlier.count(file) != 0) continue;
    made.add(file);
    list += (list.empty() ? "" : ", ") + Quoted(file);
  }
  section.facts["made"] = made;
  const std::string certificate = after.facts.find("path")->text() + "/server_certs/server_0.cer";
  if (child.isTrue("init") && !FileFacts(certificate).isThere()) {
    section.wrong("Init leaves this user no default certificate to use at " + Quoted(certificate),
                  "See what was found about the store, and the trace.");
  }
  if (list.empty()) return;
  section.note("Init made " + list,
               ::geteuid() == 0 ? "They belong to root: if the server runs as another user, give "
                                  "the store to it."
                                : "They belong to the user that ran this.");
}

}  // namespace

Section TryLibrary(const std::string& library, const Section& store, int timeLimit,
                   Section& after) {
  Section section{"trial", "Init and Uninit, every tag on"};
  const TagDirectory tags;
  if (!tags.error().empty()) {
    section.wrong("Not called: " + tags.error(),
                  "Set TMPDIR to a directory that may be written to and has room.");
    return section;
  }
  const ChildResult child = RunChild({kTrialJob, library, tags.path()}, timeLimit);
  JudgeInit(child, section);
  JudgeEngine(child, section);
  const Section now = ExamineStore();
  JudgeStore(store, now, child, section);
  ShowTrace(child, section);
  section.facts["printed"] = child.output;
  if (!child.output.empty()) {
    section.note("Something was printed meanwhile; below it stands as it is");
    section.listings.push_back({"Printed", child.printedLines()});
  }
  if (now.facts != store.facts) {
    after = now;
    after.name = "store_after";
    after.title = "Certificate store after Init";
  }
  return section;
}

}  // namespace qv::tools::doctor
