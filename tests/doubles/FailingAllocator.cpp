#include "tests/doubles/FailingAllocator.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();
constexpr std::size_t kNeverSize = std::numeric_limits<std::size_t>::max();

struct State {
  bool watching = false;
  std::size_t calls = 0;
  std::uint64_t firstToFail = kNever;
  std::uint64_t lastToFail = kNever;
  std::size_t sizeToFail = kNeverSize;
  std::size_t sizeToPretend = kNeverSize;
  int errorToLeave = 0;
  bool includesNew = false;
  // A plain array, for recording must not allocate.
  std::array<std::size_t, 65536> sizes{};
};

State g_state;
std::function<void()> g_interruption;

bool Refuses(std::size_t size) {
  if (!g_state.watching) return false;
  if (g_interruption) std::exchange(g_interruption, nullptr)();
  if (g_state.calls == g_state.sizes.size()) std::abort();
  g_state.sizes[g_state.calls++] = size;
  return size >= g_state.sizeToFail ||
         (g_state.calls >= g_state.firstToFail && g_state.calls <= g_state.lastToFail);
}

template <typename Real>
void* Answer(std::size_t size, Real real) {
  if (Refuses(size)) return nullptr;
  void* const block = real(g_state.watching && size >= g_state.sizeToPretend ? 1 : size);
  if (g_state.watching && g_state.errorToLeave != 0) errno = g_state.errorToLeave;
  return block;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return Answer(size, [](std::size_t bytes) { return __real_malloc(bytes); });
}

void* __wrap_realloc(void* block, std::size_t size) {
  return Answer(size, [block](std::size_t bytes) { return __real_realloc(block, bytes); });
}
}

namespace {

/// Whether operator new has to fail.
bool RefusesNew(std::size_t size) {
  return g_state.includesNew && Refuses(size);
}

}  // namespace

// The names of the operators tell what a size is, an unsigned long or an unsigned int: those that a
// platform does not have are weak and never called.
// NOLINTBEGIN(cert-dcl50-cpp)
#define QV_WRAP_NEW(name)                                         \
  extern "C" [[gnu::weak]] void* __real_##name(std::size_t size); \
  extern "C" void* __wrap_##name(std::size_t size) {              \
    if (RefusesNew(size)) throw std::bad_alloc();                 \
    return __real_##name(size);                                   \
  }

#define QV_WRAP_NEW_OR_NULL(name)                                                            \
  extern "C" [[gnu::weak]] void* __real_##name(std::size_t size, const std::nothrow_t& tag); \
  extern "C" void* __wrap_##name(std::size_t size, const std::nothrow_t& tag) {              \
    return RefusesNew(size) ? nullptr : __real_##name(size, tag);                            \
  }
// NOLINTEND(cert-dcl50-cpp)

QV_WRAP_NEW(_Znwm)
QV_WRAP_NEW(_Znam)
QV_WRAP_NEW(_Znwj)
QV_WRAP_NEW(_Znaj)
QV_WRAP_NEW_OR_NULL(_ZnwmRKSt9nothrow_t)
QV_WRAP_NEW_OR_NULL(_ZnamRKSt9nothrow_t)
QV_WRAP_NEW_OR_NULL(_ZnwjRKSt9nothrow_t)
QV_WRAP_NEW_OR_NULL(_ZnajRKSt9nothrow_t)

namespace qv::tests {

FailingAllocator::FailingAllocator() {
  if (g_state.watching) std::abort();
  Relent();
  g_state.calls = 0;
  g_state.watching = true;
}

FailingAllocator::~FailingAllocator() {
  Relent();
  g_state.watching = false;
}

void FailingAllocator::FailCall(std::uint32_t n) {
  g_state.firstToFail = g_state.calls + n;
  g_state.lastToFail = g_state.firstToFail;
}

void FailingAllocator::FailFrom(std::uint32_t n) {
  g_state.firstToFail = g_state.calls + n;
  g_state.lastToFail = kNever;
}

void FailingAllocator::FailSizesFrom(std::size_t bytes) {
  g_state.sizeToFail = bytes;
}

void FailingAllocator::PretendSizesFrom(std::size_t bytes) {
  g_state.sizeToPretend = bytes;
}

void FailingAllocator::SetErrno(int error) {
  g_state.errorToLeave = error;
}

void FailingAllocator::IncludeNew() {
  g_state.includesNew = true;
}

void FailingAllocator::Interrupt(std::function<void()> action) {
  g_interruption = std::move(action);
}

void FailingAllocator::Relent() {
  g_state.firstToFail = g_state.lastToFail = kNever;
  g_state.sizeToFail = g_state.sizeToPretend = kNeverSize;
  g_state.errorToLeave = 0;
  g_state.includesNew = false;
  g_interruption = nullptr;
}

std::vector<std::size_t> FailingAllocator::sizes() const {
  // What is given here is none of what the code under test asked for.
  const bool includedNew = std::exchange(g_state.includesNew, false);
  std::vector<std::size_t> sizes(
      g_state.sizes.begin(), g_state.sizes.begin() + static_cast<std::ptrdiff_t>(g_state.calls));
  g_state.includesNew = includedNew;
  return sizes;
}

}  // namespace qv::tests
