#include "source/client/OpenTagFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kit/osdep/RepeatWhileInterrupted.h"

namespace qv::traceengine {
namespace {

bool IsRegularFile(int descriptor) noexcept {
  struct stat file {};
  return ::fstat(descriptor, &file) == 0 && S_ISREG(file.st_mode);
}

}  // namespace

TagFile OpenTagFile(const kit::String& path) noexcept {
  // The system would take a null character for the end of the name, and open another file.
  if (path.hasEmbeddedNull()) return nullptr;
  // Opening a pipe would wait for a writer.
  const int descriptor = kit::osdep::RepeatWhileInterrupted(
      [&path] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); });
  if (descriptor < 0) return nullptr;
  std::FILE* const file = IsRegularFile(descriptor) ? ::fdopen(descriptor, "r") : nullptr;
  if (file == nullptr) ::close(descriptor);
  return TagFile(file);
}

}  // namespace qv::traceengine
