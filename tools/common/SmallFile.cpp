#include "tools/common/SmallFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kit/osdep/RepeatWhileInterrupted.h"

namespace qv::tools {
namespace {

using kit::osdep::RepeatWhileInterrupted;

class Descriptor {
 public:
  explicit Descriptor(const std::string& path)
      : number_(RepeatWhileInterrupted(
            [&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); })) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number_ != -1) ::close(number_);
  }

  bool isOpen() const { return number_ != -1; }
  bool isRegular() const {
    struct stat entry {};
    return ::fstat(number_, &entry) == 0 && S_ISREG(entry.st_mode);
  }
  ssize_t read(char* buffer, std::size_t size) const {
    return RepeatWhileInterrupted([&] { return ::read(number_, buffer, size); });
  }

 private:
  int number_;
};

std::string Failure(int error, const FileFacts& file) {
  return std::string(std::strerror(error)) + " (" + file.accessText() + ")";
}

}  // namespace

SmallFile::SmallFile(const FileFacts& file) {
  static constexpr std::size_t kMost = 1U << 20U;
  const Descriptor descriptor(file.path);
  if (!descriptor.isOpen()) {
    failure = Failure(errno, file);
    return;
  }
  // Another may be here by now than the one that file tells of; to read from a pipe would wait.
  if (!descriptor.isRegular()) {
    failure = "it is " + FileFacts(file.path).kindText();
    return;
  }
  char buffer[4096];
  ssize_t count = 0;
  while (!isCut && (count = descriptor.read(buffer, sizeof buffer)) > 0) {
    const std::size_t length = static_cast<std::size_t>(count);
    const std::size_t kept = std::min(length, kMost - text.size());
    text.append(buffer, kept);
    isCut = kept < length;
  }
  if (count < 0) failure = Failure(errno, file);
}

}  // namespace qv::tools
