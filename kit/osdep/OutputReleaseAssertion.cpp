#include "kit/osdep/OutputReleaseAssertion.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "kit/osdep/CancellationDeferral.h"
#include "kit/osdep/INIFileManager.h"
#include "kit/osdep/WriteSignalGuard.h"

namespace qv::kit::osdep {
namespace {

constexpr char kFileName[] = "vantis.ini";
constexpr off_t kMostBytes = 1 << 20;

/// Whether to read the file takes no time worth mentioning. A pipe, or what the system makes up
/// while it is read and shows as empty, could stop the program that loads the library.
bool IsHarmlessFile(const char* path) noexcept {
  struct stat entry {};
  return ::stat(path, &entry) == 0 && S_ISREG(entry.st_mode) && entry.st_size > 0 &&
         entry.st_size <= kMostBytes;
}

/// Runs while the library is loaded, where nobody could catch anything.
bool GetShowAssertDialog() noexcept {
  const CancellationDeferral deferral;
  try {
    if (!IsHarmlessFile(kFileName)) return false;
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
  const CancellationDeferral deferral;
  const WriteSignalGuard guard;
  const int error = errno;
  const char* const text = *message != '\0' ? message : expression;
  std::fprintf(stderr, "%s(%d): Release Assertion failed: %s\a\n", file, static_cast<int>(line),
               text);
  std::fflush(stderr);
  errno = error;
}

}  // namespace qv::kit::osdep
