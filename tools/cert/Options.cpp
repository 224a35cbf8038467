#include "tools/cert/Options.h"

#include <getopt.h>

#include <cstring>
#include <iterator>

namespace qv::tools::cert {
namespace {

constexpr char kHelp[] =
    R"(usage: qvsslinit-cert [--name NAME]... [--address ADDRESS]... [--key KIND]
                      [--days NUMBER] [--replace]
       qvsslinit-cert --import KEY CERTIFICATE [--replace]
       qvsslinit-cert --print-paths

Makes a private key and a certificate that it signs itself, or takes a pair that
you bring, and puts both where QVSSLINIT_Init looks before it makes a pair of its
own. Run it as the user that the server runs as, in the same environment, and
restart the server afterwards.

  --name NAME          a host name for the certificate, such as www.example.org
                       or *.example.org; as often as you like
  --address ADDRESS    an IPv4 or IPv6 address for it; as often as you like
                       (default, without either: the name of this host, localhost,
                       127.0.0.1 and ::1)
  --host-name NAME     the name of this host, if the system has another for it
  --key KIND           rsa3072 (default), rsa2048 or p256
  --days NUMBER        how long the certificate is valid: 1 to 3650 (default 365)
  --import             put KEY and CERTIFICATE in place: PEM files, the key not
                       encrypted, the certificate with those of its signers
                       behind it, if there are any
  --replace            replace the pair, or the half of one, that is there
  --wait SECONDS       how long to wait for others who are at the store: 0 to 60
                       (default 10)
  --print-paths        print where the key and the certificate lie, and do nothing
  --help               this text
  --version            the version of this program

Exit status: 0 done, 1 refused or failed, 2 the command line makes no sense.
)";

constexpr int kMostDays = 3650;
constexpr int kMostWait = 60;

enum : int {
  kName = 1,
  kAddress,
  kHostName,
  kKeyType,
  kDays,
  kImport,
  kReplace,
  kWait,
  kPrintPaths,
  kHelpOption,
  kVersionOption,
};

constexpr option kLongOptions[] = {{"name", required_argument, nullptr, kName},
                                   {"address", required_argument, nullptr, kAddress},
                                   {"host-name", required_argument, nullptr, kHostName},
                                   {"key", required_argument, nullptr, kKeyType},
                                   {"days", required_argument, nullptr, kDays},
                                   {"import", no_argument, nullptr, kImport},
                                   {"replace", no_argument, nullptr, kReplace},
                                   {"wait", required_argument, nullptr, kWait},
                                   {"print-paths", no_argument, nullptr, kPrintPaths},
                                   {"help", no_argument, nullptr, kHelpOption},
                                   {"version", no_argument, nullptr, kVersionOption},
                                   {nullptr, 0, nullptr, 0}};

constexpr struct {
  const char* name;
  KeyKind kind;
} kKeyKinds[] = {
    {"rsa2048", KeyKind::Rsa2048}, {"rsa3072", KeyKind::Rsa3072}, {"p256", KeyKind::P256}};

Request Refuse(const std::string& reason, const char* word) {
  return RefuseCommandLine(kProgram, reason, word);
}

bool ReadKeyKind(const char* text, KeyKind& kind) {
  for (const auto& known : kKeyKinds) {
    if (std::strcmp(text, known.name) != 0) continue;
    kind = known.kind;
    return true;
  }
  return false;
}

/// The command line, read option by option.
class Reader {
 public:
  explicit Reader(Options& options) : options_(options) {}

  /// Takes an option with its value; another Request than Work where reading is over.
  Request take(int choice, const char* value) {
    switch (choice) {
      case kName:
      case kHostName:
        return takeName(choice, value);
      case kAddress:
        if (!IsAddress(value)) return Refuse("no IPv4 or IPv6 address:", value);
        AddAddress(value, options_.names);
        break;
      case kKeyType:
        if (!ReadKeyKind(value, options_.keyKind))
          return Refuse("no kind of key (there are rsa3072, rsa2048 and p256):", value);
        break;
      case kDays:
        if (!ReadNumber(value, 1, kMostDays, options_.days))
          return Refuse("no number of days from 1 to 3650:", value);
        break;
      case kWait:
        if (!ReadNumber(value, 0, kMostWait, options_.wait))
          return Refuse("no number of seconds from 0 to 60:", value);
        break;
      default:
        return takeFlag(choice);
    }
    return Request::Work;
  }

  /// Takes the words behind the options, and looks whether all goes together.
  Request finish(int count, char** words) {
    if (options_.printPaths && isAboutPair_)
      return Refuse("nothing else goes with", "--print-paths");
    if (isImport_) {
      if (count != 2) return Refuse("the files KEY and CERTIFICATE are to follow", "--import");
      options_.importedKey = words[0];
      options_.importedCertificate = words[1];
      for (const char* word : {words[0], words[1]}) {
        if (*word == '\0') return Refuse("no file:", word);
      }
      if (isAboutNewPair_)
        return Refuse("a pair that is there takes no other option with", "--import");
    } else if (count > 0) {
      return Refuse("unexpected argument", words[0]);
    }
    const bool isNamed = !options_.names.hosts.empty() || !options_.names.addresses.empty();
    if (isNamed && !options_.hostName.empty()) {
      return Refuse("only where there is no --name and no --address there is a use for",
                    "--host-name");
    }
    return Request::Work;
  }

  /// Notes what an option is about that was given.
  void noteChoice(int choice) {
    isAboutNewPair_ = isAboutNewPair_ || choice <= kDays;
    isAboutPair_ = isAboutPair_ || choice < kPrintPaths;
  }

 private:
  Request takeName(int choice, const char* value) {
    if (const std::string reason = WhyNoHostName(value); !reason.empty()) {
      const std::string advice = IsAddress(value) ? " (there is --address)" : "";
      return Refuse("no name of a host, for " + reason + advice + ":", value);
    }
    if (choice == kHostName && *value == '*')
      return Refuse("a host has a name without '*' (there is --name):", value);
    if (choice == kName) {
      AddHost(value, options_.names);
    } else {
      options_.hostName = value;
    }
    return Request::Work;
  }

  Request takeFlag(int choice) {
    switch (choice) {
      case kImport:
        isImport_ = true;
        return Request::Work;
      case kReplace:
        options_.replace = true;
        return Request::Work;
      case kPrintPaths:
        options_.printPaths = true;
        return Request::Work;
      case kHelpOption:
        return Request::ShowHelp;
      case kVersionOption:
        return Request::ShowVersion;
      default:
        return RefuseCommandLine(kProgram);  // getopt_long has said why
    }
  }

  Options& options_;
  bool isImport_ = false;
  bool isAboutNewPair_ = false;
  bool isAboutPair_ = false;
};

}  // namespace

Request ReadOptions(int argc, char** argv, Options& options) {
  Reader reader(options);
  int choice = 0;
  while ((choice = ::getopt_long(argc, argv, "", kLongOptions, nullptr)) != -1) {
    if (const Request request = reader.take(choice, optarg); request != Request::Work)
      return request;
    reader.noteChoice(choice);
  }
  return reader.finish(argc - optind, argv + optind);
}

std::string HelpText() {
  return kHelp;
}

}  // namespace qv::tools::cert
