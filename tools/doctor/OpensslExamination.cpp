#include "tools/doctor/OpensslExamination.h"

#include <map>
#include <utility>

#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/OpensslFiles.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {
namespace {

constexpr char kPutThere[] =
    "Put an adapter of the installation package there, or a genuine library of OpenSSL's 1.0 "
    "series, or a link to either.";

/// What the child said of one of the two files.
struct OpenedFile {
  OpenedFile(const std::string& directory, const char* file)
      : name(file), facts(directory + file) {}

  const char* name;
  FileFacts facts;
  bool isOpen = false;
  std::string error;
  /// The words in which it tells its release, and the libcrypto that they come from.
  std::string release;
  std::string libcrypto;
  /// The library that does its work, behind all links: itself, if it is genuine.
  std::string leadsTo;

  bool isGenuine() const { return leadsTo == facts.realPath; }
  std::string role() const {
    if (leadsTo.empty()) return "unknown";
    return isGenuine() ? "genuine" : "adapter";
  }
};

/// The real path of the file that message names under key; empty for none.
std::string FileIn(const Fact& message, const char* key) {
  const std::string file = TextIn(message, key);
  return file.empty() ? file : RealPath(file);
}

void ReadMessages(const ChildResult& child, OpenedFile& file) {
  for (const Fact& message : child.messages) {
    if (TextIn(message, "file") == file.name) {
      file.isOpen = message.find("opened") != nullptr;
      file.error = TextIn(message, "error");
    }
    if (TextIn(message, "release_of") == file.name) {
      file.release = TextIn(message, "text");
      file.libcrypto = FileIn(message, "libcrypto");
    }
  }
}

void JudgeFile(const OpenedFile& file, bool isExchanged, Section& section) {
  const std::string path = Quoted(file.name);
  if (!file.facts.isThere()) {
    section.wrong(path + " is " + file.facts.kindText() + ": Init gives null",
                  file.facts.isHidden() ? kShowIt : kPutThere);
    return;
  }
  if (file.facts.isLink) {
    section.ok(path + " is a link to " + Quoted(file.facts.realPath));
  }
  if (!file.facts.isRegular()) {
    section.wrong(path + " is " + file.facts.kindText() + ": Init gives null", kPutThere);
    return;
  }
  if ((file.facts.mode & S_IWOTH) != 0) {
    section.wrong("Everybody may write to " + Quoted(file.facts.realPath) +
                      ": whoever does runs code in the server",
                  "chmod o-w the file.");
  }
  if (!file.error.empty()) {
    section.wrong(path + " cannot be opened: " + Printable(file.error), kPutThere);
    return;
  }
  // The child did not get that far, or it is the other of the two; that is said elsewhere.
  if (!file.isOpen || isExchanged) return;
  if (file.leadsTo.empty()) {
    section.note(path + " opens, but is nothing that is known as OpenSSL", kPutThere);
    return;
  }
  section.ok(path + (file.isGenuine() ? " is a genuine OpenSSL library"
                                      : " is an adapter to " + Quoted(file.leadsTo)));
}

/// A file beside the library by its name, any other by its path.
std::string Short(const std::string& directory, const std::string& file) {
  return Quoted(Directory(file) == RealPath(directory) ? Name(file) : file);
}

void JudgeRelease(const OpenedFile& crypto, const OpenedFile& ssl, Section& section) {
  if (!crypto.release.empty()) {
    section.ok("The OpenSSL behind them is " + Printable(crypto.release));
  }
  if (!crypto.libcrypto.empty() && !ssl.libcrypto.empty() && crypto.libcrypto != ssl.libcrypto) {
    section.wrong("The two files lead to different releases: " + Quoted(crypto.libcrypto) + " (" +
                      Printable(crypto.release) + ") and " + Quoted(ssl.libcrypto) + " (" +
                      Printable(ssl.release) + ")",
                  "Both files must come from one OpenSSL.");
  }
}

Fact FactsOf(const OpenedFile& file) {
  Fact facts = file.facts.json();
  facts["opens"] = file.isOpen;
  if (!file.error.empty()) facts["error"] = file.error;
  if (!file.isOpen) return facts;
  facts["role"] = file.role();
  if (!file.leadsTo.empty()) facts["leads_to"] = file.leadsTo;
  if (!file.release.empty()) facts["release"] = file.release;
  if (!file.libcrypto.empty()) facts["libcrypto"] = file.libcrypto;
  return facts;
}

std::string List(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names)
    list += (list.empty() ? "" : ", ") + name;
  return list;
}

/// What was looked up, as facts, and the files that the functions were found in, with numbers.
class Functions {
 public:
  Functions(const ChildResult& child, std::string directory) : directory_(std::move(directory)) {
    for (const Fact& message : child.messages) {
      const std::string name = TextIn(message, "function");
      const std::string library = TextIn(message, "looked_up_in");
      if (name.empty() || (library != kCryptoFile && library != kSslFile)) continue;
      facts_.add(message);
      const std::string file = FileIn(message, "found_in");
      lines_.push_back(name + ": " + (file.empty() ? "missing" : Printable(file)));
      if (file.empty()) {
        missing_[library].push_back(name);
      } else {
        ++found_[file];
      }
    }
  }

  /// What a file lacks of which no more is expected goes without saying.
  void judge(const std::map<std::string, bool>& isExpected, Section& section) const {
    section.facts["functions"] = facts_;
    if (lines_.empty()) return;
    section.listings.push_back(
        {"Functions, and the files that they were found in", lines_, Shown::Verbosely});
    for (const auto& [file, names] : missing_) {
      if (!isExpected.at(file)) continue;
      section.wrong("Missing in '" + file + "': " + List(names) + ": Init gives null",
                    "A genuine library from OpenSSL 1.1 on lacks functions of the 1.0 series: put "
                    "the adapter there in its place. A file of another origin is no OpenSSL.");
    }
    section.facts["functions_found"] = foundCount();
    const std::string total = std::to_string(lines_.size()) + " functions found: " + places();
    if (missing_.empty()) section.ok("All " + total);
    if (!missing_.empty() && !found_.empty()) {
      section.note("Only " + std::to_string(foundCount()) + " of " + total);
    }
  }

 private:
  std::size_t foundCount() const {
    std::size_t count = 0;
    for (const auto& entry : found_)
      count += entry.second;
    return count;
  }
  std::string places() const {
    std::vector<std::string> places;
    for (const auto& [file, count] : found_)
      places.push_back(std::to_string(count) + " in " + Short(directory_, file));
    return List(places);
  }

  std::string directory_;
  Fact facts_ = Fact::list();
  std::vector<std::string> lines_;
  std::map<std::string, std::size_t> found_;
  std::map<std::string, std::vector<std::string>> missing_;
};

void JudgeEnd(const ChildResult& child, Section& section) {
  if (child.endedWell()) return;
  const std::string opening = child.text("opening");
  section.wrong("A process that opens them " + child.endText() +
                    (opening.empty() ? std::string() : ", in " + Quoted(opening)),
                kPutThere);
}

}  // namespace

Section ExamineOpenssl(const std::string& directory, bool isOfLibrary, int timeLimit) {
  Section section{"openssl", "OpenSSL"};
  OpenedFile crypto(directory, kCryptoFile);
  OpenedFile ssl(directory, kSslFile);
  const ChildResult child = RunChild({kOpensslJob, directory}, timeLimit);
  ReadMessages(child, crypto);
  ReadMessages(child, ssl);
  crypto.leadsTo = crypto.libcrypto;
  if (const std::string libssl = child.text("libssl"); !libssl.empty()) {
    ssl.leadsTo = RealPath(libssl);
  }

  const bool isExchanged = child.isTrue("exchanged");
  if (!isOfLibrary && crypto.facts.isMissing() && ssl.facts.isMissing()) {
    section.note("Neither file is in " + Quoted(directory) + ": they belong beside the library");
  } else {
    JudgeFile(crypto, isExchanged, section);
    JudgeFile(ssl, isExchanged, section);
  }
  if (isExchanged) {
    section.wrong("The two files are in each other's place: Init gives null",
                  "Give each of them the name of the other.");
  }
  JudgeRelease(crypto, ssl, section);
  section.facts = {{"crypto", FactsOf(crypto)}, {"ssl", FactsOf(ssl)}, {"exchanged", isExchanged}};
  Functions(child, directory)
      .judge({{crypto.name, crypto.isOpen && !isExchanged}, {ssl.name, ssl.isOpen && !isExchanged}},
             section);
  JudgeEnd(child, section);
  section.facts["printed"] = child.output;
  if (!child.output.empty()) {
    section.note("They print while they are opened", "See below what.");
    section.listings.push_back({"Printed by the OpenSSL files", child.printedLines()});
  }
  return section;
}

}  // namespace qv::tools::doctor
