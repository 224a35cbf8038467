#include "tests/doubles/StagedSystemCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <glob.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace qv::tests {
namespace {

/// What is staged for some calls. Numbers count from the beginning of the object.
struct Step {
  unsigned first;
  unsigned count;
  std::optional<int> error;
  std::optional<std::size_t> bytes;
  std::function<void()> action;
  std::optional<std::string> answer = std::nullopt;
  std::vector<std::string> matches = {};
  std::optional<timeval> time = std::nullopt;

  bool covers(unsigned number) const { return number >= first && number - first < count; }
};

struct Track {
  unsigned calls = 0;
  std::vector<Step> steps;
};

using Tracks = std::array<Track, static_cast<std::size_t>(SystemCall::Count)>;

std::mutex g_Mutex;
Tracks* g_pTracks = nullptr;

/// What the next call has to do.
struct Orders {
  std::optional<int> error;
  std::optional<std::size_t> bytes;
  std::optional<std::string> answer;
  std::vector<std::string> matches;
  std::optional<timeval> time;
};

Orders TakeOrders(SystemCall call) {
  Orders orders;
  std::vector<std::function<void()>> actions;
  {
    const std::lock_guard<std::mutex> lock(g_Mutex);
    if (g_pTracks == nullptr) return orders;
    Track& track = (*g_pTracks)[static_cast<std::size_t>(call)];
    ++track.calls;
    for (const Step& step : track.steps) {
      if (!step.covers(track.calls)) continue;
      if (step.error) orders.error = step.error;
      if (step.bytes) orders.bytes = step.bytes;
      if (step.answer) orders.answer = step.answer;
      if (!step.matches.empty()) orders.matches = step.matches;
      if (step.time) orders.time = step.time;
      if (step.action) actions.push_back(step.action);
    }
  }
  for (const auto& action : actions)
    action();
  return orders;
}

/// Makes the call real, or fails as staged.
template <typename ResultT, typename RealT>
ResultT Perform(SystemCall call, ResultT failure, RealT real) {
  const Orders orders = TakeOrders(call);
  if (!orders.error) return real();
  errno = *orders.error;
  return failure;
}

template <typename RealT>
ssize_t PerformTransfer(SystemCall call, std::size_t length, RealT real) {
  const Orders orders = TakeOrders(call);
  if (!orders.error) return real(std::min(length, orders.bytes.value_or(length)));
  errno = *orders.error;
  return -1;
}

/// As Perform, but fills buffer with what is staged as the answer, and gives what success(count of
/// bytes filled) says.
template <typename ResultT, typename RealT, typename SuccessT>
ResultT PerformInto(SystemCall call, char* buffer, std::size_t length, RealT real,
                    SuccessT success) {
  const Orders orders = TakeOrders(call);
  if (orders.error) {
    errno = *orders.error;
    return -1;
  }
  if (!orders.answer) return real();
  return success(orders.answer->copy(buffer, length));
}

/// Puts names into found, for globfree to free.
void Fill(glob_t& found, const std::vector<std::string>& names) {
  found = {};
  found.gl_pathv = static_cast<char**>(std::calloc(names.size() + 1, sizeof(char*)));
  for (const std::string& name : names)
    found.gl_pathv[found.gl_pathc++] = ::strdup(name.c_str());
}

template <typename RealT>
int PerformGlob(glob_t* found, RealT real) {
  const Orders orders = TakeOrders(SystemCall::Glob);
  if (!orders.matches.empty()) {
    Fill(*found, orders.matches);
    return 0;
  }
  if (!orders.error) return real();
  if (*orders.error == ENOMEM) return GLOB_NOSPACE;
  if (*orders.error == ENOENT) return GLOB_NOMATCH;
  errno = *orders.error;
  return GLOB_ABORTED;
}

}  // namespace

struct StagedSystemCalls::State {
  Tracks tracks;

  void add(SystemCall call, Step step) {
    const std::lock_guard<std::mutex> lock(g_Mutex);
    Track& track = tracks[static_cast<std::size_t>(call)];
    step.first += track.calls;
    track.steps.push_back(std::move(step));
  }
};

StagedSystemCalls::StagedSystemCalls() : state_(std::make_unique<State>()) {
  const std::lock_guard<std::mutex> lock(g_Mutex);
  if (g_pTracks != nullptr) throw std::logic_error("system calls are staged already");
  g_pTracks = &state_->tracks;
}

StagedSystemCalls::~StagedSystemCalls() {
  const std::lock_guard<std::mutex> lock(g_Mutex);
  g_pTracks = nullptr;
}

void StagedSystemCalls::fail(SystemCall call, int error, unsigned count, unsigned first) {
  state_->add(call, {first, count, error, std::nullopt, nullptr});
}

void StagedSystemCalls::shorten(SystemCall call, std::size_t bytes, unsigned count,
                                unsigned first) {
  state_->add(call, {first, count, std::nullopt, bytes, nullptr});
}

void StagedSystemCalls::giveHostName(const std::string& bytes) {
  state_->add(SystemCall::Gethostname, {1, kAll, std::nullopt, std::nullopt, nullptr, bytes});
}

void StagedSystemCalls::giveLinkText(const std::string& bytes) {
  state_->add(SystemCall::Readlink, {1, kAll, std::nullopt, std::nullopt, nullptr, bytes});
}

void StagedSystemCalls::giveMatches(const std::vector<std::string>& names) {
  state_->add(SystemCall::Glob, {1, 1, std::nullopt, std::nullopt, nullptr, std::nullopt, names});
}

void StagedSystemCalls::giveTime(const timeval& time) {
  Step step{1, kAll, std::nullopt, std::nullopt, nullptr};
  step.time = time;
  state_->add(SystemCall::Gettimeofday, step);
}

void StagedSystemCalls::before(SystemCall call, std::function<void()> action, unsigned nth) {
  state_->add(call, {nth, 1, std::nullopt, std::nullopt, std::move(action)});
}

unsigned StagedSystemCalls::calls(SystemCall call) const {
  const std::lock_guard<std::mutex> lock(g_Mutex);
  return state_->tracks[static_cast<std::size_t>(call)].calls;
}

}  // namespace qv::tests

// The linker sends every call of NAME to __wrap_NAME and lets __real_NAME be the one of the C
// library. Those that deal in file offsets have a second name on 32-bit systems, and those that
// deal in times a third: what has none there, or everywhere else, is weak and never called.
using qv::tests::Orders;
using qv::tests::Perform;
using qv::tests::PerformGlob;
using qv::tests::PerformInto;
using qv::tests::PerformTransfer;
using qv::tests::SystemCall;
using qv::tests::TakeOrders;

// NOLINTBEGIN(bugprone-macro-parentheses, cert-dcl50-cpp)

#define QV_WRAP_OPEN(name)                                                                  \
  int __real_##name(const char* path, int flags, ...);                                      \
  int __wrap_##name(const char* path, int flags, ...) {                                     \
    va_list arguments;                                                                      \
    va_start(arguments, flags);                                                             \
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;             \
    va_end(arguments);                                                                      \
    return Perform(SystemCall::Open, -1, [&] { return __real_##name(path, flags, mode); }); \
  }

#define QV_WRAP_LSEEK(name)                                              \
  off_t __real_##name(int file, off_t offset, int origin);               \
  off_t __wrap_##name(int file, off_t offset, int origin) {              \
    return Perform(SystemCall::Lseek, off_t{-1},                         \
                   [&] { return __real_##name(file, offset, origin); }); \
  }

#define QV_WRAP_FTRUNCATE(name)                                                             \
  int __real_##name(int file, off_t length);                                                \
  int __wrap_##name(int file, off_t length) {                                               \
    return Perform(SystemCall::Ftruncate, -1, [&] { return __real_##name(file, length); }); \
  }

#define QV_WRAP_STAT(call, name)                                                      \
  [[gnu::weak]] int __real_##name(const char* path, struct stat* entry);              \
  int __wrap_##name(const char* path, struct stat* entry) {                           \
    return Perform(SystemCall::call, -1, [&] { return __real_##name(path, entry); }); \
  }

#define QV_WRAP_GLOB(name)                                                                         \
  [[gnu::weak]] int __real_##name(const char* pattern, int flags, int (*failed)(const char*, int), \
                                  glob_t* found);                                                  \
  int __wrap_##name(const char* pattern, int flags, int (*failed)(const char*, int),               \
                    glob_t* found) {                                                               \
    return PerformGlob(found, [&] { return __real_##name(pattern, flags, failed, found); });       \
  }

#define QV_WRAP_GETTIMEOFDAY(name)                              \
  [[gnu::weak]] int __real_##name(timeval* now, void* zone);    \
  int __wrap_##name(timeval* now, void* zone) {                 \
    const Orders orders = TakeOrders(SystemCall::Gettimeofday); \
    if (!orders.time) return __real_##name(now, zone);          \
    *now = *orders.time;                                        \
    return 0;                                                   \
  }

// The real one leaves the last name that it tried in a pattern for which it failed.
#define QV_WRAP_MKSTEMP(name)                                                                  \
  int __real_##name(char* pattern);                                                            \
  int __wrap_##name(char* pattern) {                                                           \
    const int file = Perform(SystemCall::Mkstemp, -1, [&] { return __real_##name(pattern); }); \
    if (file == -1) std::memcpy(pattern + std::strlen(pattern) - 6, "failed", 6);              \
    return file;                                                                               \
  }

#define QV_WRAP_ONE_PATH(call, name)                                           \
  int __real_##name(const char* path);                                         \
  int __wrap_##name(const char* path) {                                        \
    return Perform(SystemCall::call, -1, [&] { return __real_##name(path); }); \
  }

#define QV_WRAP_TWO_PATHS(call, name)                                          \
  int __real_##name(const char* a, const char* b);                             \
  int __wrap_##name(const char* a, const char* b) {                            \
    return Perform(SystemCall::call, -1, [&] { return __real_##name(a, b); }); \
  }

#define QV_WRAP_FILE(call, name)                                               \
  int __real_##name(int file);                                                 \
  int __wrap_##name(int file) {                                                \
    return Perform(SystemCall::call, -1, [&] { return __real_##name(file); }); \
  }

extern "C" {

QV_WRAP_OPEN(open)
QV_WRAP_OPEN(open64)
QV_WRAP_LSEEK(lseek)
QV_WRAP_LSEEK(lseek64)
QV_WRAP_FTRUNCATE(ftruncate)
QV_WRAP_FTRUNCATE(ftruncate64)
QV_WRAP_STAT(Stat, stat)
QV_WRAP_STAT(Stat, stat64)
QV_WRAP_STAT(Stat, __stat64_time64)
QV_WRAP_STAT(Lstat, lstat)
QV_WRAP_STAT(Lstat, lstat64)
QV_WRAP_STAT(Lstat, __lstat64_time64)
QV_WRAP_GLOB(glob)
QV_WRAP_GLOB(glob64)
QV_WRAP_GLOB(__glob64_time64)
QV_WRAP_GETTIMEOFDAY(gettimeofday)
QV_WRAP_GETTIMEOFDAY(__gettimeofday64)
QV_WRAP_MKSTEMP(mkstemp)
QV_WRAP_MKSTEMP(mkstemp64)
QV_WRAP_FILE(Close, close)
QV_WRAP_FILE(Fsync, fsync)
QV_WRAP_ONE_PATH(Rmdir, rmdir)
QV_WRAP_ONE_PATH(Unlink, unlink)
QV_WRAP_ONE_PATH(Chdir, chdir)
QV_WRAP_TWO_PATHS(Rename, rename)
QV_WRAP_TWO_PATHS(Symlink, symlink)

ssize_t __real_read(int file, void* buffer, std::size_t length);
ssize_t __wrap_read(int file, void* buffer, std::size_t length) {
  return PerformTransfer(SystemCall::Read, length,
                         [&](std::size_t most) { return __real_read(file, buffer, most); });
}

ssize_t __real_write(int file, const void* buffer, std::size_t length);
ssize_t __wrap_write(int file, const void* buffer, std::size_t length) {
  return PerformTransfer(SystemCall::Write, length,
                         [&](std::size_t most) { return __real_write(file, buffer, most); });
}

int __real_mkdir(const char* path, mode_t mode);
int __wrap_mkdir(const char* path, mode_t mode) {
  return Perform(SystemCall::Mkdir, -1, [&] { return __real_mkdir(path, mode); });
}

int __real_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode) {
  return Perform(SystemCall::Fchmod, -1, [&] { return __real_fchmod(file, mode); });
}

ssize_t __real_readlink(const char* path, char* buffer, std::size_t length);
ssize_t __wrap_readlink(const char* path, char* buffer, std::size_t length) {
  return PerformInto<ssize_t>(
      SystemCall::Readlink, buffer, length, [&] { return __real_readlink(path, buffer, length); },
      [](std::size_t count) { return static_cast<ssize_t>(count); });
}

char* __real_getcwd(char* buffer, std::size_t length);
char* __wrap_getcwd(char* buffer, std::size_t length) {
  return Perform(SystemCall::Getcwd, static_cast<char*>(nullptr),
                 [&] { return __real_getcwd(buffer, length); });
}

char* __real_tempnam(const char* directory, const char* prefix);
char* __wrap_tempnam(const char* directory, const char* prefix) {
  return Perform(SystemCall::Tempnam, static_cast<char*>(nullptr),
                 [&] { return __real_tempnam(directory, prefix); });
}

int __real_gethostname(char* name, std::size_t length);
int __wrap_gethostname(char* name, std::size_t length) {
  return PerformInto<int>(
      SystemCall::Gethostname, name, length, [&] { return __real_gethostname(name, length); },
      [](std::size_t) { return 0; });
}

int __real_dladdr(const void* address, Dl_info* info);
int __wrap_dladdr(const void* address, Dl_info* info) {
  return Perform(SystemCall::Dladdr, 0, [&] { return __real_dladdr(address, info); });
}

}  // extern "C"

// NOLINTEND(bugprone-macro-parentheses, cert-dcl50-cpp)
