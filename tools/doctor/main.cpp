// qvsslinit-doctor: tells the truth about an installed library, in a page.
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/doctor/AssertionExamination.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/EngineExamination.h"
#include "tools/doctor/LibraryExamination.h"
#include "tools/doctor/OpensslExamination.h"
#include "tools/doctor/Options.h"
#include "tools/doctor/Probes.h"
#include "tools/doctor/Rendering.h"
#include "tools/doctor/StoreExamination.h"
#include "tools/doctor/TagFileExamination.h"
#include "tools/doctor/TrialRun.h"

namespace {

using namespace qv::tools;
using namespace qv::tools::doctor;

enum ExitStatus : int { kHealthy = 0, kSomethingWrong = 1, kUsage = 2 };

/// Adds section unless there is nothing in it.
void Add(Diagnosis& diagnosis, const Section& section) {
  if (!section.name.empty()) diagnosis.sections.push_back(section);
}

void TryOrSayWhyNot(const Options& options, bool isUsable, const Section& store,
                    Diagnosis& diagnosis) {
  Section trial{"trial", "Init and Uninit, every tag on"};
  Section after;
  if (!options.init) {
    trial.note("Not called, as --no-init wants it: whether Init works remains to be seen");
  } else if (!isUsable) {
    trial.note("Not called: the library is of no use as it is");
  } else {
    trial = TryLibrary(diagnosis.library, store, options.timeLimit, after);
  }
  Add(diagnosis, trial);
  Add(diagnosis, after);
}

Diagnosis Examine(const Options& options) {
  Diagnosis diagnosis;
  diagnosis.library = FindLibrary(options);
  const LibraryExamination library(diagnosis.library, options.timeLimit);
  Add(diagnosis, library.section);
  Add(diagnosis, ExamineOpenssl(library.directory, library.isUsable, options.timeLimit));
  const Section store = ExamineStore();
  Add(diagnosis, store);
  if (library.isUsable) {
    const EngineExamination engine(diagnosis.library, options.timeLimit);
    Add(diagnosis, engine.section);
    if (engine.isFound) Add(diagnosis, ExamineTagFile(engine.configDirectory, options.timeLimit));
  }
  Add(diagnosis, ExamineAssertions());
  TryOrSayWhyNot(options, library.isUsable, store, diagnosis);
  return diagnosis;
}

/// Does a job for the doctor in this process, which may not survive it.
void DoJob(const std::vector<std::string>& job) {
  if (job.size() == 2 && job[0] == kLibraryJob) return ProbeLibrary(job[1]);
  if (job.size() == 2 && job[0] == kOpensslJob) return ProbeOpenssl(job[1]);
  if (job.size() == 2 && job[0] == kEngineJob) return ProbeEngine(job[1]);
  if (job.size() == 2 && job[0] == kTagsJob) return ProbeTags(job[1]);
  if (job.size() == 3 && job[0] == kTrialJob) return RunTrial(job[1], job[2]);
  throw std::runtime_error("no such job");
}

int Child(const std::vector<std::string>& job) {
  try {
    DoJob(job);
    Report({{kDone, true}});
    return 0;
  } catch (const std::exception& exception) {
    Report({{"failure", exception.what()}});
  }
  return 1;
}

int Print(const std::string& text, bool isHealthy) {
  return PrintText(kProgram, text) && isHealthy ? kHealthy : kSomethingWrong;
}

int Run(int argc, char** argv) {
  Options options;
  const Request request = ReadOptions(argc, argv, options);
  if (request == Request::Refuse) return kUsage;
  if (request == Request::ShowHelp) return Print(HelpText(), true);
  if (request == Request::ShowVersion) return Print("qvsslinit-doctor " QV_VERSION "\n", true);
  const Diagnosis diagnosis = Examine(options);
  return Print(options.json ? RenderJson(diagnosis) : RenderPage(diagnosis, options.verbose),
               diagnosis.isHealthy());
}

}  // namespace

int main(int argc, char** argv) {
  // As hosts do: names of directories are read in the encoding of the locale.
  std::setlocale(LC_ALL, "");
  if (argc > 2 && std::strcmp(argv[1], kChildOption) == 0) {
    return Child(std::vector<std::string>(argv + 2, argv + argc));
  }
  // Who ignores the end of children, and starts programs that inherit that, is told of none.
  std::signal(SIGCHLD, SIG_DFL);
  try {
    return Run(argc, argv);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s: %s\n", kProgram, exception.what());
  }
  return kSomethingWrong;
}
