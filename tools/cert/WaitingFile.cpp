#include "tools/cert/WaitingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "kit/osdep/RepeatWhileInterrupted.h"
#include "tools/cert/Failure.h"
#include "tools/cert/WorkingDirectory.h"
#include "tools/common/Printable.h"

namespace qv::tools::cert {
namespace {

using kit::osdep::RepeatWhileInterrupted;

bool WriteAll(int descriptor, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = RepeatWhileInterrupted(
        [&] { return ::write(descriptor, text.data() + written, text.size() - written); });
    if (count < 0) return false;
    written += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace

WaitingFile::WaitingFile(std::string name) : name_(std::move(name)) {}

WaitingFile::WaitingFile(std::string name, const std::string& text, mode_t permissions)
    : WaitingFile(std::move(name)) {
  const int descriptor = RepeatWhileInterrupted([this] {
    return ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  });
  if (descriptor == -1) throw SystemFailure("Cannot make " + Quoted(name_), errno);
  isToBeRemoved_ = true;
  try {
    write(descriptor, text, permissions);
  } catch (const Failure&) {
    ::close(descriptor);
    throw;
  }
  if (::close(descriptor) != 0 && errno != EINTR)
    throw SystemFailure("Cannot write " + Quoted(name_), errno);
}

void WaitingFile::write(int descriptor, const std::string& text, mode_t permissions) {
  if (::fchmod(descriptor, permissions) != 0 || !WriteAll(descriptor, text) || !Flush(descriptor))
    throw SystemFailure("Cannot write " + Quoted(name_), errno);
}

WaitingFile::~WaitingFile() {
  if (isToBeRemoved_) ::unlink(name_.c_str());
}

}  // namespace qv::tools::cert
