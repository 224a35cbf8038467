#include "engine/OutputFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "kit/osdep/RepeatWhileInterrupted.h"

namespace qv::traceengine {
namespace {

static_assert(OutputFile::kMostAtOnce <= PIPE_BUF, "pipes take no more in one piece");

using kit::osdep::RepeatWhileInterrupted;

/// The same file under a descriptor that nobody takes for a standard stream.
int AboveStandardStreams(int descriptor) noexcept {
  if (descriptor == -1 || descriptor > STDERR_FILENO) return descriptor;
  const int above = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  ::close(descriptor);
  return above;
}

/// Opens path for appending; -1 when that fails. A pipe neither waits for a reader nor, when it is
/// full, for room.
int Open(const char* path) noexcept {
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  return AboveStandardStreams(
      RepeatWhileInterrupted([path] { return ::open(path, kFlags, S_IRUSR | S_IWUSR); }));
}

/// The time from now on, as poll() wants it.
int MillisecondsUntil(OutputFile::Time time) noexcept {
  using std::chrono::milliseconds;
  if (time == OutputFile::kNever) return -1;
  const auto left = std::chrono::ceil<milliseconds>(time - OutputFile::Time::clock::now());
  return static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, INT_MAX));
}

/// How many of the bytes make whole lines.
std::size_t WholeLines(const char* bytes, std::size_t size) noexcept {
  while (size > 0 && bytes[size - 1] != '\n')
    --size;
  return size;
}

}  // namespace

OutputFile::~OutputFile() {
  if (!path_.empty() && isOurs(descriptor_)) ::close(descriptor_);
}

std::size_t OutputFile::append(const char* lines, std::size_t size) noexcept {
  if (!isReady() || !endHalfLine()) return 0;
  const std::size_t written = writeAll(lines, size);
  const std::size_t whole = WholeLines(lines, written);
  if (written > whole) endsInHalfLine_ = !takeBack(lines + whole, written - whole);
  return whole;
}

/// Sees to it that there is a file to write to, and the one that has the path now.
bool OutputFile::isReady() noexcept {
  if (path_.empty()) {
    descriptor_ = STDERR_FILENO;
    return true;
  }
  if (!isOurs(descriptor_)) descriptor_ = -1;
  if (descriptor_ == -1 || !pathLeadsToFile()) openFile();
  return descriptor_ != -1;
}

/// Whether the descriptor leads to the file that was opened.
bool OutputFile::isSameFile(int descriptor) const noexcept {
  struct stat file {};
  return descriptor != -1 && ::fstat(descriptor, &file) == 0 && file.st_dev == device_ &&
         file.st_ino == node_;
}

/// Whether the descriptor is still the one that was opened here. The numbers of files are used
/// again, too: what does not append is a file of the host's.
bool OutputFile::isOurs(int descriptor) const noexcept {
  return isSameFile(descriptor) && (::fcntl(descriptor, F_GETFL) & O_APPEND) != 0;
}

bool OutputFile::pathLeadsToFile() const noexcept {
  struct stat file {};
  return ::stat(path_.c_str(), &file) == 0 && file.st_dev == device_ && file.st_ino == node_;
}

/// Opens what has the path now; leaves everything as it is when that fails.
void OutputFile::openFile() noexcept {
  const int descriptor = Open(path_.c_str());
  if (descriptor == -1) return;
  struct stat file {};
  if (::fstat(descriptor, &file) != 0) {
    ::close(descriptor);
    return;
  }
  device_ = file.st_dev;
  node_ = file.st_ino;
  endsInHalfLine_ = false;
  const int former = descriptor_.exchange(descriptor);
  if (former != -1) ::close(former);
}

/// Whether the file takes more, or fails to, before the time to give up.
bool OutputFile::waitForRoom() const noexcept {
  pollfd entry{descriptor_, POLLOUT, 0};
  const auto wait = [&] { return ::poll(&entry, 1, MillisecondsUntil(deadline_)); };
  return RepeatWhileInterrupted(wait) != 0;
}

/// Standard error, which is the host's, may be one that waits for room itself: where that must not
/// last for ever, it is asked for before.
ssize_t OutputFile::write(const char* bytes, std::size_t size) const noexcept {
  bool isAskedBefore = deadline_ != kNever;
  while (!isAskedBefore || waitForRoom()) {
    const ssize_t result =
        RepeatWhileInterrupted([&] { return ::write(descriptor_, bytes, size); });
    if (result != -1 || errno != EAGAIN) return result;
    isAskedBefore = true;
  }
  return -1;
}

/// Writes until the file takes no more; gives what it took.
std::size_t OutputFile::writeAll(const char* bytes, std::size_t size) const noexcept {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t result = write(bytes + done, size - done);
    if (result <= 0) break;
    done += static_cast<std::size_t>(result);
  }
  return done;
}

/// Keeps the next line apart from half a line that could not be taken back.
bool OutputFile::endHalfLine() noexcept {
  if (endsInHalfLine_) endsInHalfLine_ = writeAll("\n", 1) == 0;
  return !endsInHalfLine_;
}

/// Cuts these bytes off the end of the file, provided that they are what it ends in. Standard error
/// has no path to be read under.
bool OutputFile::takeBack(const char* bytes, std::size_t size) const noexcept {
  const int reader = AboveStandardStreams(RepeatWhileInterrupted(
      [this] { return ::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
  if (reader == -1) return false;
  struct stat file {};
  char end[kMostAtOnce];
  const auto length = static_cast<off_t>(size);
  const bool isLast = isSameFile(reader) && ::fstat(reader, &file) == 0 && S_ISREG(file.st_mode) &&
                      file.st_size >= length &&
                      ::pread(reader, end, size, file.st_size - length) == length &&
                      std::equal(bytes, bytes + size, end);
  ::close(reader);
  return isLast && ::ftruncate(descriptor_, file.st_size - length) == 0;
}

}  // namespace qv::traceengine
