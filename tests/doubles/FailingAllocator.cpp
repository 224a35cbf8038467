#include "tests/doubles/FailingAllocator.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <new>

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

bool Refuses(std::size_t size) {
  if (!g_state.watching) return false;
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

void* operator new(std::size_t size) {
  const std::size_t bytes = std::max<std::size_t>(size, 1);
  void* const block = g_state.includesNew ? __wrap_malloc(bytes) : __real_malloc(bytes);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}

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

void FailingAllocator::Relent() {
  g_state.firstToFail = g_state.lastToFail = kNever;
  g_state.sizeToFail = g_state.sizeToPretend = kNeverSize;
  g_state.errorToLeave = 0;
  g_state.includesNew = false;
}

std::vector<std::size_t> FailingAllocator::sizes() const {
  return {g_state.sizes.begin(),
          g_state.sizes.begin() + static_cast<std::ptrdiff_t>(g_state.calls)};
}

}  // namespace qv::tests
