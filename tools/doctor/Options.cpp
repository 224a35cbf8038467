#include "tools/doctor/Options.h"

#include <getopt.h>

namespace qv::tools::doctor {
namespace {

constexpr char kHelp[] =
    R"(usage: qvsslinit-doctor [--library PATH] [--no-init] [--verbose] [--json]
                        [--time-limit SECONDS]

Tells the truth about an installed libqvsslinit: the library, the two OpenSSL
files beside it, the certificate store, the trace engine and its tag file. Then
calls QVSSLINIT_Init and QVSSLINIT_Uninit with every trace tag on and shows the
trace. Each finding that needs a hand says what to do.

  Init makes the store with the default key and certificate where they are
  missing, under $QVPUBAPPDATADIR or the system's own place, and they will
  belong to whoever runs this. Run it as the user that the server runs as, or
  leave Init out with --no-init. Nothing else is changed.

  --library PATH          the library, or the directory that it is in (default:
                          the one that was installed with this program, else
                          one in ../lib as seen from it, or beside it)
  --no-init               do not call Init and Uninit: nothing is created
  --verbose               everything: each of the OpenSSL functions, and records
                          of OpenSSL's lock callbacks
  --json                  the same findings for machines
  --time-limit SECONDS    how long each run of foreign code may take: 1 to 3600
                          (default 60)
  --help                  this text
  --version               the version of this program

Exit status: 0 healthy, 1 something is wrong, 2 the command line is.
)";

enum : int { kLibrary = 1, kNoInit, kVerbose, kJson, kTimeLimit, kHelpOption, kVersionOption };

constexpr option kLongOptions[] = {{"library", required_argument, nullptr, kLibrary},
                                   {"no-init", no_argument, nullptr, kNoInit},
                                   {"verbose", no_argument, nullptr, kVerbose},
                                   {"json", no_argument, nullptr, kJson},
                                   {"time-limit", required_argument, nullptr, kTimeLimit},
                                   {"help", no_argument, nullptr, kHelpOption},
                                   {"version", no_argument, nullptr, kVersionOption},
                                   {nullptr, 0, nullptr, 0}};

Request Refuse(const char* reason, const char* word) {
  return RefuseCommandLine(kProgram, reason, word);
}

}  // namespace

Request ReadOptions(int argc, char** argv, Options& options) {
  int choice = 0;
  while ((choice = ::getopt_long(argc, argv, "", kLongOptions, nullptr)) != -1) {
    switch (choice) {
      case kLibrary:
        options.library = optarg;
        if (options.library.empty()) return Refuse("no library", optarg);
        break;
      case kNoInit:
        options.init = false;
        break;
      case kVerbose:
        options.verbose = true;
        break;
      case kJson:
        options.json = true;
        break;
      case kTimeLimit:
        if (!ReadNumber(optarg, 1, 3600, options.timeLimit)) {
          return Refuse("no number of seconds from 1 to 3600:", optarg);
        }
        break;
      case kHelpOption:
        return Request::ShowHelp;
      case kVersionOption:
        return Request::ShowVersion;
      default:
        return RefuseCommandLine(kProgram);  // getopt_long has said why
    }
  }
  if (optind < argc) return Refuse("unexpected argument", argv[optind]);
  return Request::Work;
}

std::string HelpText() {
  return kHelp;
}

}  // namespace qv::tools::doctor
