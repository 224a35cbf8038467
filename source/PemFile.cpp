#include "source/PemFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string_view>

#include "kit/osdep/RepeatWhileInterrupted.h"

namespace qvsslinit {
namespace {

using qv::kit::String;
using qv::kit::osdep::RepeatWhileInterrupted;

/// Many times as much as a default key or certificate is.
constexpr std::size_t kMostBytes = 16384;

class File {
 public:
  // Nobody reads bytes_ beyond length_.
  // cppcheck-suppress uninitMemberVar
  explicit File(const String& name) noexcept
      : descriptor_(RepeatWhileInterrupted(
            [&] { return ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); })) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (descriptor_ != -1) ::close(descriptor_);
  }

  /// Reads all there is, or as much as there is room for; false when that fails, or where there is
  /// something else than a file: to read from a pipe would wait, and take from others.
  bool read() noexcept {
    struct stat entry {};
    if (::fstat(descriptor_, &entry) != 0 || !S_ISREG(entry.st_mode)) return false;
    while (length_ < kMostBytes) {
      const ssize_t count = RepeatWhileInterrupted(
          [this] { return ::read(descriptor_, bytes_ + length_, kMostBytes - length_); });
      if (count <= 0) return count == 0;
      length_ += static_cast<std::size_t>(count);
    }
    return true;
  }
  /// Whether it is more than any file of ours.
  bool isTooLong() const noexcept { return length_ == kMostBytes; }
  std::string_view text() const noexcept { return {bytes_, length_}; }

  /// File systems that cannot be waited for are taken as they are.
  bool hasReachedDisk() const noexcept {
    return RepeatWhileInterrupted([this] { return ::fsync(descriptor_); }) == 0 ||
           errno == EINVAL || errno == ENOTSUP;
  }

 private:
  int descriptor_;
  std::size_t length_ = 0;
  char bytes_[kMostBytes];
};

}  // namespace

bool IsPemFileLost(const String& file, const PemKind& kind) noexcept {
  File opened(file);
  if (!opened.read()) return false;
  const std::string_view text = opened.text();
  const std::string_view last = kind.lastLine;
  const bool endsAsItShould = !opened.isTooLong() && text.size() >= last.size() &&
                              text.substr(text.size() - last.size()) == last;
  return !endsAsItShould || !opened.hasReachedDisk();
}

std::optional<bool> IsCutPemFile(const String& file, const PemKind& kind) noexcept {
  File opened(file);
  if (!opened.read()) return std::nullopt;
  if (opened.isTooLong()) return false;
  const std::string_view text = opened.text();
  const std::string_view first = kind.firstLine;
  const std::size_t common = std::min(text.size(), first.size());
  // What lacks nothing but the end of its last line can be read.
  std::string_view last = kind.lastLine;
  last.remove_suffix(1);
  return text.substr(0, common) == first.substr(0, common) &&
         text.find(last) == std::string_view::npos;
}

}  // namespace qvsslinit
