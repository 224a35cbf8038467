#pragma once

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <memory>

namespace qv::kit::osdep {

/// The recursive mutex behind CriticalSection, on pthreads. The operations are those of
/// CriticalSection, where they are described. They are inlined: a call each would cost half as much
/// again as the mutex.
class UnixCriticalSection {
 public:
  /// Throws std::bad_alloc when the system has no memory for another mutex.
  UnixCriticalSection();
  UnixCriticalSection(const UnixCriticalSection&) = delete;
  UnixCriticalSection& operator=(const UnixCriticalSection&) = delete;
  ~UnixCriticalSection();

  /// @{
  /// As CriticalSection has it.
  void enter() const {
    State& state = *state_;
    pthread_mutex_lock(&state.mutex_);
    state.acquired();
  }

  bool tryEnter() const {
    State& state = *state_;
    const int result = pthread_mutex_trylock(&state.mutex_);
    // Any other result counts as acquired, errors included: callers know only held by others or
    // not.
    if (result == EBUSY || result == EINVAL) return false;
    state.acquired();
    return true;
  }

  void leave() const {
    State& state = *state_;
    if (!state.isOwned()) return;
    if (state.lockCount_ > 0) --state.lockCount_;
    if (state.lockCount_ == 0) state.owner_.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&state.mutex_);
  }

  bool inOwningThread() const { return state_->isOwned(); }
  /// @}

 private:
  struct State {
    State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();

    void acquired() {
      owner_.store(pthread_self(), std::memory_order_relaxed);
      ++lockCount_;
    }

    bool isOwned() const {
      return pthread_equal(owner_.load(std::memory_order_relaxed), pthread_self()) != 0;
    }

    // Read by threads that do not hold the mutex. Relaxed is enough: only the owner can find its
    // own identity here, and that it wrote itself.
    std::atomic<pthread_t> owner_{0};
    pthread_mutex_t mutex_;
    std::int32_t lockCount_ = 0;
  };

  std::unique_ptr<State> state_;
};

}  // namespace qv::kit::osdep
