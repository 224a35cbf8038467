#include "tools/cert/Replacement.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <system_error>

#include "kit/osdep/RepeatWhileInterrupted.h"
#include "tools/cert/Failure.h"
#include "tools/cert/WaitingFile.h"
#include "tools/cert/Warning.h"
#include "tools/cert/WholeFile.h"
#include "tools/cert/WorkingDirectory.h"
#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"

namespace qv::tools::cert {
namespace {

using kit::osdep::RepeatWhileInterrupted;

constexpr char kWorkshop[] = "server_0.replacing";
constexpr char kOld[] = "old";
constexpr char kNew[] = "new";
constexpr char kPair[] = "pair";
constexpr mode_t kKeyMode = 0600;
constexpr mode_t kCertificateMode = 0644;

std::string InWorkshop(const std::string& name) {
  return std::string(kWorkshop) + "/" + name;
}

std::string InWorkshop(const char* directory, const char* name) {
  return InWorkshop(std::string(directory) + "/" + name);
}

/// What one of the two files holds while it is a link.
std::string ThroughPair(const char* name) {
  return InWorkshop(kPair, name);
}

void Write(const std::string& name, const std::string& text, mode_t mode) {
  WaitingFile file(name, text, mode);
  file.keep();
}

void Move(const std::string& from, const std::string& to) {
  if (RepeatWhileInterrupted([&] { return ::rename(from.c_str(), to.c_str()); }) != 0)
    throw SystemFailure("Cannot move " + Quoted(from) + " to " + Quoted(to), errno);
}

void MakeLink(const std::string& target, const std::string& name) {
  if (RepeatWhileInterrupted([&] { return ::symlink(target.c_str(), name.c_str()); }) != 0)
    throw SystemFailure("Cannot make the symbolic link " + Quoted(name), errno);
}

/// Has name be a link to target, whatever it was before.
void Link(const std::string& target, const std::string& name) {
  const std::string fresh = InWorkshop("link");
  MakeLink(target, fresh);
  Move(fresh, name);
}

void FlushOrFail(const std::string& directory) {
  if (!FlushDirectory(directory))
    throw SystemFailure("Cannot have " + Quoted(directory) + " written to the disk", errno);
}

/// What is not this program's is not touched, and what it would lead to still less.
void RequireOwnWorkshop() {
  const FileFacts workshop(kWorkshop);
  if (workshop.isLink || !workshop.isDirectory()) {
    throw Failure(Quoted(kWorkshop) + " is " +
                  (workshop.isThere() && workshop.isLink ? "a link" : workshop.kindText()) +
                  ": move it away");
  }
  if (workshop.uid != ::geteuid())
    throw Failure(Quoted(kWorkshop) + " belongs to " + workshop.owner + ": move it away");
  const FileFacts pair(InWorkshop(kPair));
  if (!pair.isMissing() && pair.linkTarget != kOld && pair.linkTarget != kNew) {
    throw Failure(Quoted(pair.path) + " leads to neither pair: move " + Quoted(kWorkshop) +
                  " away");
  }
}

void RemoveWorkshop() {
  std::error_code error;
  std::filesystem::remove_all(kWorkshop, error);
  if (error) throw Failure("Cannot remove " + Quoted(kWorkshop) + ": " + error.message());
}

/// The directory with the new pair in it, which nothing leads to yet.
void MakeWorkshop(const std::string& key, const std::string& certificate) {
  MakeOwnDirectory(kWorkshop);
  for (const char* name : {kOld, kNew})
    MakeOwnDirectory(InWorkshop(name));
  Write(InWorkshop(kNew, kKey), key, kKeyMode);
  Write(InWorkshop(kNew, kCertificate), certificate, kCertificateMode);
  FlushOrFail(InWorkshop(kNew));
}

/// What a link here holds, so that it leads to the same from elsewhere.
std::string FromAnywhere(const std::string& target) {
  return (std::filesystem::current_path() / target).string();
}

/// Gives what is there by this name a second one, and a copy where it can have none: there are file
/// systems without, and files that only their owner may give one.
void KeepOld(const char* name) {
  const FileFacts facts(name);
  const std::string kept = InWorkshop(kOld, name);
  if (facts.isMissing()) return;
  if (facts.isLink) return MakeLink(FromAnywhere(facts.linkTarget), kept);
  if (RepeatWhileInterrupted([&] { return ::link(name, kept.c_str()); }) != 0)
    Write(kept, ReadWhole(name), facts.permissions());
}

/// Has both files be links to what is in them, and "pair" the one thing that tells old from new.
void PutBehindLinks() {
  FlushOrFail(InWorkshop(kOld));
  Link(kOld, InWorkshop(kPair));
  FlushOrFail(kWorkshop);
  FlushOrFail(".");
  for (const char* name : {kKey, kCertificate})
    Link(ThroughPair(name), name);
  FlushOrFail(".");
}

void PutOneAfterTheOther() {
  FlushOrFail(kWorkshop);
  for (const char* name : {kKey, kCertificate}) {
    Move(InWorkshop(kNew, name), name);
    FlushOrFail(".");
  }
}

/// The new pair takes the place of the old, step by step.
void Exchange() {
  if (!FileFacts(kCertificate).isRegular()) return PutOneAfterTheOther();
  for (const char* name : {kKey, kCertificate})
    KeepOld(name);
  PutBehindLinks();
  Link(kNew, InWorkshop(kPair));
}

/// Has a link into the workshop be the file that it leads to, or nothing where there was none;
/// whether it was such a link.
bool MakeFileOf(const char* name) {
  const FileFacts facts(name);
  if (!facts.isLink || facts.linkTarget != ThroughPair(name)) return false;
  if (!FileFacts(ThroughPair(name)).isMissing()) {
    Move(ThroughPair(name), name);
  } else if (::unlink(name) != 0) {
    throw SystemFailure("Cannot remove the link " + Quoted(name), errno);
  }
  return true;
}

/// Whether there were links.
bool MakeFiles() {
  RequireOwnWorkshop();
  // What was turned last must be on the disk before either file is what it leads to.
  FlushOrFail(kWorkshop);
  const bool hadKeyLink = MakeFileOf(kKey);
  const bool hadCertificateLink = MakeFileOf(kCertificate);
  FlushOrFail(".");
  RemoveWorkshop();
  return hadKeyLink || hadCertificateLink;
}

/// After a failure, which is what is told: another one on the way back is left to the next run.
void GoBack() noexcept {
  try {
    if (FileFacts(kWorkshop).isMissing()) return;
    MakeFiles();
  } catch (const std::exception& exception) {
    Warn(exception.what());
  }
}

}  // namespace

void PutPairInPlace(const std::string& key, const std::string& certificate) {
  try {
    MakeWorkshop(key, certificate);
    Exchange();
  } catch (const Failure&) {
    GoBack();
    throw;
  }
  try {
    MakeFiles();
  } catch (const Failure& failure) {
    throw Failure(std::string("The new pair is in its place, but perhaps behind links; run this "
                              "again: ") +
                  failure.what());
  }
}

void FinishReplacement() {
  if (FileFacts(kWorkshop).isMissing()) return;
  if (MakeFiles()) Warn("an earlier run was interrupted; what it left is cleared up");
}

}  // namespace qv::tools::cert
