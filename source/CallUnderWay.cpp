#include "source/CallUnderWay.h"

#include <cstddef>

namespace qvsslinit {
namespace {

constexpr pthread_t kNobody{};
constexpr std::size_t kPlaces = 1024;

/// The threads in a call, one place each; a call within a call takes another.
std::atomic<pthread_t> g_threads[kPlaces];
/// The places from this one on have never been taken.
std::atomic<std::size_t> g_end{0};

std::atomic<bool> g_isToldOfForks{false};
std::atomic<bool> g_wasCutOff{false};

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
  return nullptr;
}

template <typename Condition>
bool IsAnyThread(Condition condition) noexcept {
  const std::size_t end = g_end;
  for (std::size_t place = 0; place < end; ++place)
    if (condition(g_threads[place].load())) return true;
  return false;
}

// The parent's side needs nothing: no lock is held over a fork, so that no handler of the host can
// meet one that the fork itself holds.
void LookForCalls() noexcept {
  if (IsAnyThread([](pthread_t thread) { return thread != kNobody; })) g_wasCutOff = true;
}

}  // namespace

CallUnderWay::CallUnderWay() noexcept : place_(TakePlace()) {
  // Comes before the call can take a lock. Threads that begin at the same moment may each ask to be
  // told, which does no harm; that there is no memory for it matters to children alone.
  if (!g_isToldOfForks) g_isToldOfForks = pthread_atfork(nullptr, nullptr, &LookForCalls) == 0;
}

CallUnderWay::~CallUnderWay() {
  if (place_ != nullptr) *place_ = kNobody;
}

bool CallUnderWay::isInThisThread() noexcept {
  const pthread_t self = pthread_self();
  return IsAnyThread([self](pthread_t thread) { return pthread_equal(thread, self) != 0; });
}

bool CallUnderWay::wasCutOff() noexcept {
  return g_wasCutOff;
}

}  // namespace qvsslinit
