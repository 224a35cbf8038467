#pragma once

#include <sys/time.h>

#include <climits>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qv::tests {

enum class SystemCall {
  Open,
  Close,
  Read,
  Write,
  Lseek,
  Fsync,
  Ftruncate,
  Stat,
  Lstat,
  Mkdir,
  Rmdir,
  Unlink,
  Rename,
  Symlink,
  Readlink,
  Getcwd,
  Chdir,
  Glob,
  Tempnam,
  Gethostname,
  Dladdr,
  Gettimeofday,
  Mkstemp,
  Fchmod,
  Count,
};

/// The system calls of a program that links qv_staged_system_calls, made to fail where a test wants
/// it. Calls for which nothing is staged reach the system. One object at a time; its end ends all
/// that it staged. Calls count from the moment something is staged for them: the next one is 1.
class StagedSystemCalls {
 public:
  /// As a count of calls: all that follow.
  static constexpr unsigned kAll = UINT_MAX;

  StagedSystemCalls();
  StagedSystemCalls(const StagedSystemCalls&) = delete;
  StagedSystemCalls& operator=(const StagedSystemCalls&) = delete;
  ~StagedSystemCalls();

  /// count calls, the first of them the one numbered first, fail with errno error and do nothing.
  /// glob fails with GLOB_NOSPACE for ENOMEM, without touching errno, with GLOB_NOMATCH for ENOENT
  /// and with GLOB_ABORTED for any other error. dladdr gives 0.
  void fail(SystemCall call, int error, unsigned count = 1, unsigned first = 1);

  /// Reads and writes among these calls move no more than bytes.
  void shorten(SystemCall call, std::size_t bytes, unsigned count = 1, unsigned first = 1);

  /// gethostname succeeds with as many of these bytes as its buffer holds. A terminator is only
  /// where the bytes have one.
  void giveHostName(const std::string& bytes);

  /// readlink gives as many of these bytes as its buffer holds, and how many these are.
  void giveLinkText(const std::string& bytes);

  /// The next glob finds these names, in this order, whatever its pattern.
  void giveMatches(const std::vector<std::string>& names);

  /// gettimeofday gives this from now on.
  void giveTime(const timeval& time);

  /// Runs action just before the call numbered nth.
  void before(SystemCall call, std::function<void()> action, unsigned nth = 1);

  /// How often call was made since this object began, calls that failed included.
  unsigned calls(SystemCall call) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qv::tests
