// qvsslinit-cert: puts the key and certificate of a site where Init looks for them.
#include <sys/stat.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "tools/cert/Failure.h"
#include "tools/cert/ImportedPair.h"
#include "tools/cert/Installation.h"
#include "tools/cert/NewPair.h"
#include "tools/cert/Options.h"
#include "tools/common/Printable.h"
#include "tools/common/StoreLocation.h"

namespace {

using namespace qv::tools;
using namespace qv::tools::cert;

enum ExitStatus : int { kDone = 0, kFailed = 1, kUsage = 2 };

int Print(const std::string& text) {
  return PrintText(kProgram, text) ? kDone : kFailed;
}

/// A pair in another place than was meant would be found by nobody.
std::string FindStore() {
  const StoreLocation location;
  if (!location.complaint.empty()) throw Failure(location.complaint + ". " + location.advice);
  return location.path;
}

SubjectNames NamesOfThisHost(const Options& options) {
  if (!options.hostName.empty()) return UsualNames(options.hostName);
  const std::string host = SystemHostName();
  const std::string reason = WhyNoHostName(host);
  if (reason.empty()) return UsualNames(host);
  throw Failure("The system calls this host " + Quoted(host) + ", which is no name for it, for " +
                reason + ": give it another with --host-name, or names with --name");
}

Pair GetPair(const Options& options) {
  if (options.isImport()) return ImportPair(options.importedKey, options.importedCertificate);
  const bool isNamed = !options.names.hosts.empty() || !options.names.addresses.empty();
  return MakePair(options.keyKind, isNamed ? options.names : NamesOfThisHost(options),
                  options.days);
}

int Work(const Options& options) {
  const std::string store = FindStore();
  if (options.printPaths) return Print(KeyPath(store) + "\n" + CertificatePath(store) + "\n");
  const Pair pair = GetPair(options);
  const std::string description = Describe(pair);
  InstallPair({store, KeyText(pair), CertificateText(pair), options.replace, options.wait});
  return Print(description + "It is in place as " + Quoted(KeyPath(store)) + " and " +
               Quoted(CertificatePath(store)) + ". Restart the server to have it used.\n");
}

int Run(int argc, char** argv) {
  Options options;
  switch (ReadOptions(argc, argv, options)) {
    case Request::Refuse:
      return kUsage;
    case Request::ShowHelp:
      return Print(HelpText());
    case Request::ShowVersion:
      return Print(std::string(kProgram) + " " QV_VERSION "\n");
    case Request::Work:
      break;
  }
  return Work(options);
}

}  // namespace

int main(int argc, char** argv) {
  // As hosts do: names of directories are read in the encoding of the locale.
  std::setlocale(LC_ALL, "");
  // Each mode is given where something is made.
  ::umask(0);
  // Where no more can be written, that is an error as any other, to be cleared up after.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return Run(argc, argv);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s: %s\n", kProgram, exception.what());
  }
  return kFailed;
}
