#include "tests/doubles/ProcessCalls.h"

#include <dlfcn.h>
#include <iconv.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

#include "tests/doubles/DynamicLoader.h"

// Where memory really comes from: the C library's own names for what this program replaces, or
// those of the sanitizer that has replaced it already.
#if defined(QV_SANITIZED)
#define QV_REAL(name) __interceptor_##name
#else
#define QV_REAL(name) __libc_##name
#endif

extern "C" {
void* QV_REAL(malloc)(std::size_t size);
void* QV_REAL(calloc)(std::size_t count, std::size_t size);
void* QV_REAL(realloc)(void* block, std::size_t size);
void* QV_REAL(memalign)(std::size_t alignment, std::size_t size);
}

namespace {

using qv::tests::DynamicLoader;
using qv::tests::ProcessCall;

/// Complete before anything runs, for the dynamic loader needs memory first of all.
struct State {
  std::atomic<bool> watching{false};
  std::atomic<bool> watchesOthers{false};
  std::atomic<ProcessCall> call{ProcessCall::kMemory};
  std::atomic<int> error{0};
  std::atomic<std::uint64_t> calls{0};
  std::atomic<std::uint64_t> first{0};
  std::atomic<std::uint64_t> last{0};
  std::atomic<const DynamicLoader*> spared{nullptr};
};

State g_state;
thread_local bool t_isWatcher = false;

/// Whether this call, which returns to caller, has to fail; errno is set then.
bool Fails(ProcessCall call, const void* caller) {
  if (!g_state.watching || g_state.call != call || t_isWatcher == g_state.watchesOthers) {
    return false;
  }
  const DynamicLoader* const spared = g_state.spared;
  if (spared != nullptr && spared->holds(reinterpret_cast<std::uintptr_t>(caller))) return false;
  const std::uint64_t number = ++g_state.calls;
  if (number < g_state.first || number > g_state.last) return false;
  errno = g_state.error;
  return true;
}

}  // namespace

#define QV_FAILS(call) Fails(ProcessCall::call, __builtin_return_address(0))

// As the C library defines them, and for all to see.
#pragma GCC visibility push(default)

extern "C" {

void* malloc(std::size_t size) noexcept {
  return QV_FAILS(kMemory) ? nullptr : QV_REAL(malloc)(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  return QV_FAILS(kMemory) ? nullptr : QV_REAL(calloc)(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
  return QV_FAILS(kMemory) ? nullptr : QV_REAL(realloc)(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return QV_FAILS(kMemory) ? nullptr : QV_REAL(memalign)(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}
}

#if defined(QV_SANITIZED)

// The sanitizer's own would not come past malloc.
void* operator new(std::size_t size) {
  void* const block = malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return malloc(std::max<std::size_t>(size, 1));
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return malloc(std::max<std::size_t>(size, 1));
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete[](void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}

#else

namespace {

/// The function that this program's stands before.
template <typename Function>
Function* Next(Function* /*replaced*/, const char* name) {
  // Not dlsym, which is replaced as well; the versions are those of the C libraries of today, and
  // of before it took the loader's functions in.
  for (const char* version : {"GLIBC_2.34", "GLIBC_2.2.5", "GLIBC_2.1", "GLIBC_2.0"}) {
    if (void* found = ::dlvsym(RTLD_NEXT, name, version)) return reinterpret_cast<Function*>(found);
  }
  std::abort();
}

}  // namespace

extern "C" {

void* dlopen(const char* file, int mode) noexcept {
  static auto* const next = Next(&dlopen, "dlopen");
  return QV_FAILS(kDlopen) ? nullptr : next(file, mode);
}

void* dlsym(void* library, const char* name) noexcept {
  static auto* const next = Next(&dlsym, "dlsym");
  return QV_FAILS(kDlsym) ? nullptr : next(library, name);
}

iconv_t iconv_open(const char* to, const char* from) {
  static auto* const next = Next(&iconv_open, "iconv_open");
  return QV_FAILS(kIconvOpen) ? reinterpret_cast<iconv_t>(-1) : next(to, from);
}

int gethostname(char* name, std::size_t length) noexcept {
  static auto* const next = Next(&gethostname, "gethostname");
  return QV_FAILS(kGethostname) ? -1 : next(name, length);
}

int gettimeofday(timeval* now, void* zone) noexcept {
  // The header gives the function another name where times are wider than the system's own.
  static auto* const next =
      Next(&gettimeofday, sizeof(time_t) > sizeof(long) ? "__gettimeofday64" : "gettimeofday");
  return QV_FAILS(kGettimeofday) ? -1 : next(now, zone);
}
}

#endif

#pragma GCC visibility pop

namespace qv::tests {

ProcessCalls::ProcessCalls(const Fault& fault, std::uint64_t n) {
  if (g_state.watching) std::abort();
  static const DynamicLoader loader;
  t_isWatcher = true;
  g_state.watchesOthers = fault.threads == Threads::kAllOthers;
  g_state.call = fault.call;
  g_state.error = fault.error;
  g_state.calls = 0;
  g_state.first = n;
  g_state.last = fault.failing == Failing::kOne ? n : std::numeric_limits<std::uint64_t>::max();
  g_state.spared = fault.sparesLoader ? &loader : nullptr;
  g_state.watching = true;
}

ProcessCalls::~ProcessCalls() {
  g_state.watching = false;
  t_isWatcher = false;
}

std::uint64_t ProcessCalls::calls() {
  return g_state.calls;
}

}  // namespace qv::tests
