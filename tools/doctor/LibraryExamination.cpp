#include "tools/doctor/LibraryExamination.h"

#include <filesystem>

#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/LocaleNeed.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {
namespace {

namespace fs = std::filesystem;

void ExamineFile(const FileFacts& file, Section& section) {
  if (file.isLink) section.ok(Quoted(file.path) + " is a link to " + Quoted(file.realPath));
  if ((file.mode & S_IWOTH) != 0) {
    section.wrong("Everybody may write to " + Quoted(file.realPath) +
                      ": whoever does runs code in the server",
                  "chmod o-w the file.");
  }
  const FileFacts directory(Directory(file.path));
  if ((directory.mode & S_IWOTH) != 0) {
    section.wrong("Everybody may write to " + Quoted(directory.path) +
                      ": whoever puts files there runs code in the server",
                  "chmod o-w the directory, and see what has been put there.");
  }
  if (file.isLink && Directory(file.realPath) != RealPath(Directory(file.path))) {
    section.note("A host that loads it by its real name looks for OpenSSL in " +
                     Quoted(Directory(file.realPath) + "/") + " instead",
                 "Give the hosts one of the two names, and keep the OpenSSL files beside that.");
  }
}

void JudgeDirectory(const ChildResult& child, LibraryExamination& examination) {
  Section& section = examination.section;
  const std::string directory = child.text("directory");
  if (directory.empty() || !FileFacts(directory).isDirectory()) {
    section.wrong("The library cannot tell its own directory in this locale",
                  "Run the host in a UTF-8 locale, or install the library under a name in ASCII.");
    return;
  }
  examination.directory = directory;
  section.facts["directory"] = examination.directory;
  section.ok("It looks for OpenSSL in " + Quoted(examination.directory));
  JudgeLocaleNeed(examination.directory, "and Init gives it null", section);
}

void JudgeLoading(const ChildResult& child, LibraryExamination& examination) {
  Section& section = examination.section;
  static constexpr char kReinstall[] =
      "Put the file of the installation package back; it must be built for this system.";
  section.facts["loads"] = child.isTrue("loaded");
  if (const std::string error = child.text("error"); !error.empty()) {
    section.facts["error"] = error;
    section.wrong("It cannot be loaded: " + Printable(error), kReinstall);
    return;
  }
  if (!child.isTrue("loaded") || !child.endedWell()) {
    section.wrong("A process that loads it " + child.endText(), kReinstall);
    return;
  }
  for (const char* function : {"QVSSLINIT_Init", "QVSSLINIT_Uninit"}) {
    if (child.isTrue(function)) continue;
    section.wrong(std::string("It has no function ") + function,
                  "This is another library: say with --library where the right one is.");
    return;
  }
  examination.isUsable = true;
  section.ok("It loads and has QVSSLINIT_Init and QVSSLINIT_Uninit");
  JudgeDirectory(child, examination);
}

/// The library in directory: by the name that is there for compilers, or by the one that is there
/// for programs. Empty for none.
fs::path LibraryIn(const fs::path& directory) {
  std::error_code ignored;
  for (const char* name : {"libqvsslinit.so", QV_LIBRARY_SONAME}) {
    fs::path library = directory / name;
    if (fs::exists(library, ignored)) return library;
  }
  return {};
}

}  // namespace

std::string FindLibrary(const Options& options) {
  std::error_code ignored;
  if (!options.library.empty()) {
    const fs::path given = fs::absolute(options.library, ignored);
    const fs::path library = LibraryIn(given);
    return (library.empty() ? given : library).string();
  }
  const fs::path here = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  // As installed, as built, and in one directory with this program.
  for (const char* directory : {QV_LIBRARY_DIRECTORY, "../lib", "."}) {
    const fs::path library = LibraryIn((here / directory).lexically_normal());
    if (!library.empty()) return library.string();
  }
  return (here / QV_LIBRARY_DIRECTORY / QV_LIBRARY_SONAME).lexically_normal().string();
}

LibraryExamination::LibraryExamination(const std::string& library, int timeLimit)
    : directory(Directory(library) + "/") {
  const FileFacts file(library);
  section.facts = file.json();
  if (file.isHidden()) {
    section.wrong(Quoted(library) + " is " + file.kindText(), kShowIt);
    return;
  }
  if (!file.isThere()) {
    section.wrong("There is no library at " + Quoted(library),
                  "Install it there, or say with --library where it is.");
    return;
  }
  if (!file.isRegular()) {
    section.wrong(
        Quoted(library) + " is no library but " + file.kindText() +
            (file.isDirectory() ? ", with no libqvsslinit.so or " QV_LIBRARY_SONAME " in it" : ""),
        "Say with --library where the library is.");
    return;
  }
  section.ok(Quoted(library) + ", " + file.accessText());
  ExamineFile(file, section);
  JudgeLoading(RunChild({kLibraryJob, library}, timeLimit), *this);
}

}  // namespace qv::tools::doctor
