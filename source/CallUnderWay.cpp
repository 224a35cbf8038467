#include "source/CallUnderWay.h"

#include <cstddef>
#include <cstdint>

namespace qvsslinit {
namespace {

constexpr pthread_t kNobody{};
constexpr std::size_t kPlaces = 1024;

/// The threads in a call, one place each; a call within a call takes another.
std::atomic<pthread_t> g_threads[kPlaces];
/// The places from this one on have never been taken.
std::atomic<std::size_t> g_end{0};
/// The calls that found no place.
std::atomic<std::uint32_t> g_unlisted{0};

std::atomic<pthread_t>* TakePlace() noexcept {
  for (std::size_t place = 0; place < kPlaces; ++place) {
    pthread_t nobody = kNobody;
    if (g_threads[place] != kNobody ||
        !g_threads[place].compare_exchange_strong(nobody, pthread_self()))
      continue;
    std::size_t end = g_end;
    while (end <= place && !g_end.compare_exchange_weak(end, place + 1)) {
    }
    return &g_threads[place];
  }
  ++g_unlisted;
  return nullptr;
}

}  // namespace

CallUnderWay::CallUnderWay() noexcept : place_(TakePlace()) {}

CallUnderWay::~CallUnderWay() {
  if (place_ != nullptr) {
    // Who learns that the call is over, and forks then, finds it over.
    place_->store(kNobody, std::memory_order_release);
  } else {
    --g_unlisted;
  }
}

void CallUnderWay::lookForCalls() noexcept {
  const pthread_t self = pthread_self();
  if (g_unlisted != 0) wasCutOff_ = true;
  // All places: whoever has just taken one may not have raised the end yet.
  for (std::atomic<pthread_t>& thread : g_threads) {
    if (thread == kNobody) continue;
    wasCutOff_ = true;
    if (pthread_equal(thread, self) == 0) thread = kNobody;
  }
}

// The parent's side needs nothing: no lock is held over a fork, so that no handler of the host can
// meet one that the fork itself holds.
bool CallUnderWay::watchForks() noexcept {
  return pthread_atfork(nullptr, nullptr, &lookForCalls) == 0;
}

bool CallUnderWay::isInThisThread() noexcept {
  const pthread_t self = pthread_self();
  const std::size_t end = g_end;
  for (std::size_t place = 0; place < end; ++place)
    if (pthread_equal(g_threads[place], self) != 0) return true;
  return false;
}

}  // namespace qvsslinit
