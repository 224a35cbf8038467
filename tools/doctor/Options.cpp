#include "tools/doctor/Options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>

namespace qv::doctor {
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

  --library PATH          the library (default: the one that was installed with
                          this program, else one in ../lib as seen from it, or
                          beside it)
  --no-init               do not call Init and Uninit: nothing is created
  --verbose               everything: each of the OpenSSL functions, and records
                          of OpenSSL's lock callbacks
  --json                  the same findings for machines
  --time-limit SECONDS    how long each run of foreign code may take (default 60)
  --help                  this text

Exit status: 0 healthy, 1 something is wrong, 2 the command line is.
)";

enum : int { kLibrary = 1, kNoInit, kVerbose, kJson, kTimeLimit, kHelpOption };

constexpr option kLongOptions[] = {{"library", required_argument, nullptr, kLibrary},
                                   {"no-init", no_argument, nullptr, kNoInit},
                                   {"verbose", no_argument, nullptr, kVerbose},
                                   {"json", no_argument, nullptr, kJson},
                                   {"time-limit", required_argument, nullptr, kTimeLimit},
                                   {"help", no_argument, nullptr, kHelpOption},
                                   {nullptr, 0, nullptr, 0}};

Request Refuse(const char* reason, const char* word) {
  if (reason != nullptr) std::fprintf(stderr, "qvsslinit-doctor: %s '%s'\n", reason, word);
  std::fputs("Try 'qvsslinit-doctor --help'.\n", stderr);
  return Request::Refuse;
}

/// Whole seconds from 1 to an hour.
bool ReadSeconds(const char* text, int& seconds) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < 1 || value > 3600) return false;
  seconds = static_cast<int>(value);
  return true;
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
        if (!ReadSeconds(optarg, options.timeLimit)) {
          return Refuse("no number of seconds from 1 to 3600:", optarg);
        }
        break;
      case kHelpOption:
        return Request::ShowHelp;
      default:
        return Refuse(nullptr, nullptr);  // getopt_long has said why
    }
  }
  if (optind < argc) return Refuse("unexpected argument", argv[optind]);
  return Request::Examine;
}

std::string HelpText() {
  return kHelp;
}

}  // namespace qv::doctor
