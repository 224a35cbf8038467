#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

namespace qv::traceengine {

/// The file that lines are appended to, by several processes perhaps. One thread at a time may use
/// an object.
class OutputFile {
 public:
  /// As much as one write puts into a file or a pipe in one piece, whoever else writes to it.
  static constexpr std::size_t kMostAtOnce = 4096;

  using Time = std::chrono::steady_clock::time_point;
  static constexpr Time kNever = Time::max();

  /// The file is opened with the first lines. An empty path means standard error, which stays open.
  explicit OutputFile(std::string path) noexcept : path_(std::move(path)) {}
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Appends lines, up to kMostAtOnce bytes with a line end as the last, in one write. Returns how
  /// many bytes of them, whole lines always, are in the file afterwards: fewer than size when it
  /// cannot be opened, is full, or takes nothing until the time to give up. Half a line that a full
  /// disk took is taken back, or, where others have written behind it, ended before the next line.
  /// (Others that find room between the look at the end of the file and its cutting lose their
  /// line.)
  ///
  /// Lines go to the file that has the path now: when it was renamed or removed, one is made in its
  /// place, readable by the owner only. While that fails, lines still go to the former file. A host
  /// that closes descriptors that are not its own, and perhaps has other files under their numbers
  /// then, neither loses lines nor finds them there, unless it does so at that very moment. Of
  /// standard error nothing is known but its number.
  std::size_t append(const char* lines, std::size_t size) noexcept;

  /// How long to wait for a pipe or a terminal that is full: until then, at first forever. Only
  /// what others write to the same standard error at the very moment can make it longer: unlike a
  /// file of our own it stays one that waits, for it is theirs as well.
  void giveUpAt(Time deadline) noexcept { deadline_ = deadline; }

  /// In a new child process: the file is shared with the parent, half a line is the parent's
  /// affair.
  void becomeChild() noexcept { endsInHalfLine_ = false; }

 private:
  bool isReady() noexcept;
  bool isSameFile(int descriptor) const noexcept;
  bool isOurs(int descriptor) const noexcept;
  bool pathLeadsToFile() const noexcept;
  void openFile() noexcept;
  bool waitForRoom() const noexcept;
  ssize_t write(const char* bytes, std::size_t size) const noexcept;
  std::size_t writeAll(const char* bytes, std::size_t size) const noexcept;
  bool endHalfLine() noexcept;
  bool takeBack(const char* bytes, std::size_t size) const noexcept;

  std::string path_;
  // A process that is forked off at any moment finds -1 here or a descriptor, and never the number
  // of one that has been closed.
  std::atomic<int> descriptor_{-1};
  dev_t device_ = 0;
  ino_t node_ = 0;
  bool endsInHalfLine_ = false;
  Time deadline_ = kNever;
};

}  // namespace qv::traceengine
