#include "kit/osdep/CancellationDeferral.h"
#include "kit/osdep/INIFileManager.h"
#include "kit/osdep/OutputReleaseAssertion.h"

namespace {

/// What a static initializer meets that runs before those of the kit: this file comes first when
/// the library is linked.
struct EarlyUse {
  EarlyUse() {
    const qv::kit::osdep::CancellationDeferral deferral;
    qv::kit::osdep::OutputReleaseAssertion("false", "too early", "early", 1);
    qv::kit::osdep::INIFileManager file("early.ini", "");
    foundDefaultItem = file.keyPresent("", "");
  }

  bool foundDefaultItem;
};

const EarlyUse g_earlyUse;

}  // namespace

extern "C" {

/// OutputReleaseAssertion of this library.
__attribute__((visibility("default"))) void qv_assertion_output(const char* expression,
                                                                const char* message,
                                                                const char* file, unsigned line) {
  qv::kit::osdep::OutputReleaseAssertion(expression, message, file, line);
}

/// Whether "early.ini" held the item of the default names, asked before the kit was initialized.
__attribute__((visibility("default"))) int qv_assertion_found_default_item() {
  return g_earlyUse.foundDefaultItem ? 1 : 0;
}

}  // extern "C"
