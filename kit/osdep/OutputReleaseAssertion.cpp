#include "kit/osdep/OutputReleaseAssertion.h"

#include <sys/stat.h>

#include <cstdio>

#include "kit/osdep/INIFileManager.h"

namespace qv::kit::osdep {
namespace {

constexpr char kFileName[] = "vantis.ini";

/// Opening a pipe would stop the program that loads the library until somebody writes to it.
bool IsRegularFile(const char* path) noexcept {
  struct stat entry {};
  return ::stat(path, &entry) == 0 && S_ISREG(entry.st_mode);
}

/// Runs while the library is loaded, where nobody could catch anything.
bool GetShowAssertDialog() noexcept {
  try {
    if (!IsRegularFile(kFileName)) return false;
    INIFileManager settings(kFileName, "NVE");
    bool show = false;
    return settings.read(settings.section(), "ShowReleaseAsserts", show) && show;
  } catch (...) {
    return false;
  }
}

// Read once. Until then, while other static initializers run, it is false.
const bool g_showReleaseAsserts = GetShowAssertDialog();

}  // namespace

void OutputReleaseAssertion(const char* expression, const char* message, const char* file,
                            unsigned line) noexcept {
  if (!g_showReleaseAsserts) return;
  const char* const text = *message != '\0' ? message : expression;
  std::fprintf(stderr, "%s(%d): Release Assertion failed: %s\a\n", file, static_cast<int>(line),
               text);
  std::fflush(stderr);
}

}  // namespace qv::kit::osdep
