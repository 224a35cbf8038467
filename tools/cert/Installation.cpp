#include "tools/cert/Installation.h"

#include <chrono>
#include <csignal>

#include "source/StoreLock.h"
#include "tools/cert/Failure.h"
#include "tools/cert/Replacement.h"
#include "tools/cert/Warning.h"
#include "tools/cert/WorkingDirectory.h"
#include "tools/common/FileFacts.h"
#include "tools/common/Printable.h"

namespace qv::tools::cert {
namespace {

using qvsslinit::StoreLock;

constexpr char kPairs[] = "server_certs";

/// Keeps the usual requests to end from cutting the process off between two steps.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
      ::sigaddset(&signals, signal);
    ::sigprocmask(SIG_BLOCK, &signals, &before_);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

void EnterStore(const std::string& store) {
  const std::string parent = Directory(store).empty() ? "/" : Directory(store);
  if (const FileFacts facts(parent); !facts.isDirectory()) {
    throw Failure(Quoted(parent) + ", which is to hold the store, is " + facts.kindText() +
                  ": make the directory and give it to the user that the server runs as");
  }
  EnterDirectory(parent);
  ActAsOwner();
  MakeOwnDirectory(Name(store));
  EnterOwnDirectory(Name(store));
  ActAsOwner();
}

void RequireNobodyElse(const StoreLock& lock, const Installation& wanted) {
  if (lock.isHeldByAnother()) {
    throw Failure(Quoted(wanted.store) + " is locked by another process, after " +
                  std::to_string(wanted.wait) + " seconds still: try again");
  }
  if (!lock.isHeld()) {
    Warn(Quoted(wanted.store) +
         " cannot be locked: see that no server starts and makes a pair at this moment");
  }
}

void EnterPairs() {
  for (const char* name : {kPairs, "open_csrs", "temp"})
    MakeOwnDirectory(name);
  EnterOwnDirectory(kPairs);
  ActAsOwner();
}

void RequirePlace(const std::string& path, const char* name, bool mayReplace) {
  const FileFacts facts(name);
  if (facts.isMissing()) return;
  if (!facts.isLink && !facts.isRegular())
    throw Failure(Quoted(path) + " is " + facts.kindText() + ": move it away");
  if (!mayReplace) {
    throw Failure(Quoted(path) +
                  " is there already: with --replace, key and certificate are replaced");
  }
  if (facts.isLink) {
    Warn(Quoted(path) + " is a link, which is replaced; what it led to, " +
         Quoted(facts.linkTarget) + ", stays as it is");
  }
}

}  // namespace

std::string KeyPath(const std::string& store) {
  return store + "/" + kPairs + "/" + kKey;
}

std::string CertificatePath(const std::string& store) {
  return store + "/" + kPairs + "/" + kCertificate;
}

void InstallPair(const Installation& installation) {
  EnterStore(installation.store);
  const StoreLock lock(".", std::chrono::seconds(installation.wait));
  RequireNobodyElse(lock, installation);
  EnterPairs();
  const SignalsHeld held;
  FinishReplacement();
  RequirePlace(KeyPath(installation.store), kKey, installation.replace);
  RequirePlace(CertificatePath(installation.store), kCertificate, installation.replace);
  PutPairInPlace(installation.key, installation.certificate);
}

}  // namespace qv::tools::cert
