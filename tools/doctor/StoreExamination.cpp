#include "tools/doctor/StoreExamination.h"

#include <filesystem>
#include <set>

#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"
#include "tools/common/SmallFile.h"
#include "tools/common/StoreLocation.h"
#include "tools/doctor/LocaleNeed.h"
#include "tools/doctor/PairExamination.h"
#include "tools/doctor/StoreAccess.h"

namespace qv::tools::doctor {
namespace {

namespace fs = std::filesystem;

constexpr char kPairs[] = "server_certs";

/// The directory of the store, with a word on how the environment had a say in it.
std::string LocateStore(Section& section) {
  const StoreLocation location;
  section.facts["path"] = location.path;
  section.facts["QVPUBAPPDATADIR"] = location.isVariableSet ? Fact(location.variable) : Fact();
  if (!location.complaint.empty()) {
    section.wrong(location.complaint, location.advice);
  } else {
    section.ok("It is " + Quoted(location.path) +
               (location.isVariableSet ? ", by QVPUBAPPDATADIR" : "; QVPUBAPPDATADIR is not set"));
    JudgeLocaleNeed(location.path, "and Init makes no pair there", section);
  }
  return location.path;
}

/// The names in a directory, in order; false, and a finding, when it cannot be read.
bool List(const std::string& directory, Section& section, std::set<std::string>& names) {
  std::error_code error;
  fs::directory_iterator entry(directory, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error))
    names.insert(entry->path().filename().string());
  if (error) {
    section.wrong(Quoted(directory) + " cannot be read: " + error.message(),
                  "Run this as the user that the server runs as; if it was that one, give the "
                  "directory to it.");
  }
  return !error;
}

/// A directory of the store. False when it is none.
bool JudgeDirectory(const FileFacts& directory, uid_t storeOwner, Section& section) {
  const std::string path = Quoted(directory.path);
  if (directory.isHidden()) {
    section.wrong(path + " is " + directory.kindText(), kShowIt);
    return false;
  }
  if (!directory.isDirectory()) {
    section.wrong(path + " is " + directory.kindText() + " where a directory should be",
                  "Move it away; the first Init of the next process makes the directory.");
    return false;
  }
  if ((directory.mode & S_IWOTH) == 0) section.ok(path + ", " + directory.accessText());
  JudgeWriters(directory, path, storeOwner, section);
  return true;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string InDirectory(const std::string& directory, const std::string& name) {
  std::string path = directory;
  path += '/';
  return path += name;
}

/// A file that the library has no use for.
void AddOther(const std::string& path, Section& section, Fact& files) {
  const FileFacts file(path);
  section.note(Quoted(path) + " is none of the library's files: " + file.kindText() +
               (file.isThere() ? ", " + file.accessText() : std::string()));
  if (file.isRegular() && IsReadableByOthers(file) &&
      SmallFile(file).text.find("PRIVATE KEY-----") != std::string::npos) {
    section.wrong(Quoted(path) + " holds a private key that everybody on this machine can read",
                  "Remove the file. The key may have been copied: get a new pair.");
  }
  Fact facts = file.json();
  facts["role"] = "other";
  files.add(facts);
}

// Where qvsslinit-cert has both pairs while it replaces one by the other.
constexpr char kReplacing[] = "server_0.replacing";

/// Init is to make something in directory.
void JudgeMaking(const std::string& directory, Section& section) {
  if (MayCreateIn(directory)) return;
  section.wrong("This user may not write to " + Quoted(directory) +
                    ": Init cannot make it there (" + FileFacts(directory).accessText() + ")",
                "Run this as the user that the server runs as; if it was that one, give the "
                "directory to it.");
}

void ExaminePairs(const std::string& directory, Section& section, Fact& files) {
  std::set<std::string> names;
  if (!List(directory, section, names)) return;
  std::set<std::string> stems{"server_0"};
  for (const std::string& name : names) {
    if (EndsWith(name, ".key") || EndsWith(name, ".cer")) {
      stems.insert(name.substr(0, name.size() - 4));
    } else if (name == kReplacing) {
      section.note(
          Quoted(InDirectory(directory, name)) +
              " was left by a qvsslinit-cert that was interrupted, or is its work just now",
          "Run qvsslinit-cert again: it clears up.");
    } else {
      AddOther(InDirectory(directory, name), section, files);
    }
  }
  if (names.count("server_0.cer") == 0) JudgeMaking(directory, section);
  for (const std::string& stem : stems)
    PairExamination(InDirectory(directory, stem), section).run(files);
}

void ExamineOthers(const std::string& directory, Section& section, Fact& files) {
  std::set<std::string> names;
  if (!List(directory, section, names)) return;
  for (const std::string& name : names)
    AddOther(InDirectory(directory, name), section, files);
}

void ExamineContents(const std::string& store, Section& section) {
  std::set<std::string> names;
  if (!List(store, section, names)) return;
  Fact files = Fact::list();
  Fact directories = Fact::list();
  directories.add(FileFacts(store).json());
  const uid_t owner = FileFacts(store).uid;
  for (const char* name : {kPairs, "open_csrs", "temp"}) {
    const FileFacts directory(store + "/" + name);
    directories.add(directory.json());
    names.erase(name);
    if (directory.isMissing()) {
      section.note(Quoted(directory.path) + " is missing: the first Init makes it");
      JudgeMaking(store, section);
    } else if (JudgeDirectory(directory, owner, section)) {
      (directory.path == store + "/" + kPairs ? ExaminePairs : ExamineOthers)(directory.path,
                                                                              section, files);
    }
  }
  for (const std::string& name : names)
    AddOther(InDirectory(store, name), section, files);
  section.facts["directories"] = directories;
  section.facts["files"] = files;
}

void JudgeMissingStore(const std::string& store, Section& section) {
  const FileFacts parent(Directory(store).empty() ? "/" : Directory(store));
  if (parent.isDirectory()) {
    section.note("The store is not there yet: the first Init makes it, with a key and certificate");
    JudgeMaking(parent.path, section);
  } else {
    section.wrong(Quoted(parent.path) + ", which is to hold the store, is " + parent.kindText() +
                      ": Init does not make it, and so makes no key and certificate",
                  "Make the directory and give it to the user that the server runs as.");
  }
}

}  // namespace

Section ExamineStore() {
  Section section{"store", "Certificate store"};
  const std::string path = LocateStore(section);
  const FileFacts store(path);
  section.facts["exists"] = store.isThere();
  if (store.isMissing()) {
    JudgeMissingStore(path, section);
  } else if (JudgeDirectory(store, store.uid, section)) {
    ExamineContents(path, section);
  }
  return section;
}

}  // namespace qv::tools::doctor
