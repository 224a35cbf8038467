#include "tests/doubles/FailingAllocator.h"

#include <array>
#include <cstdlib>
#include <limits>

namespace {

constexpr std::uint64_t k_NEVER = std::numeric_limits<std::uint64_t>::max();

struct State {
  bool watching = false;
  std::uint64_t calls = 0;
  std::uint64_t firstToFail = k_NEVER;
  std::uint64_t lastToFail = k_NEVER;
  std::size_t sizeToFail = std::numeric_limits<std::size_t>::max();
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

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return Refuses(size) ? nullptr : __real_malloc(size);
}

void* __wrap_realloc(void* block, std::size_t size) {
  return Refuses(size) ? nullptr : __real_realloc(block, size);
}
}

namespace qv::test {

FailingAllocator::FailingAllocator() {
  if (g_state.watching) std::abort();
  Relent();
  g_state.calls = 0;
  g_state.watching = true;
}

FailingAllocator::~FailingAllocator() {
  g_state.watching = false;
}

void FailingAllocator::FailCall(std::uint32_t n) {
  g_state.firstToFail = g_state.calls + n;
  g_state.lastToFail = g_state.firstToFail;
}

void FailingAllocator::FailFrom(std::uint32_t n) {
  g_state.firstToFail = g_state.calls + n;
  g_state.lastToFail = k_NEVER;
}

void FailingAllocator::FailSizesFrom(std::size_t bytes) {
  g_state.sizeToFail = bytes;
}

void FailingAllocator::Relent() {
  g_state.firstToFail = g_state.lastToFail = k_NEVER;
  g_state.sizeToFail = std::numeric_limits<std::size_t>::max();
}

std::vector<std::size_t> FailingAllocator::sizes() const {
  return {g_state.sizes.begin(),
          g_state.sizes.begin() + static_cast<std::ptrdiff_t>(g_state.calls)};
}

}  // namespace qv::test
