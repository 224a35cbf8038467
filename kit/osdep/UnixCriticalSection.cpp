#include "kit/osdep/UnixCriticalSection.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <new>

namespace qv::kit::osdep {

namespace {

// The three calls report nothing but a lack of memory or of other resources here.
void RequireResources(int result) {
  if (result != 0) throw std::bad_alloc();
}

class RecursiveMutexAttributes {
 public:
  RecursiveMutexAttributes() { RequireResources(pthread_mutexattr_init(&attributes_)); }
  RecursiveMutexAttributes(const RecursiveMutexAttributes&) = delete;
  RecursiveMutexAttributes& operator=(const RecursiveMutexAttributes&) = delete;
  ~RecursiveMutexAttributes() { pthread_mutexattr_destroy(&attributes_); }

  const pthread_mutexattr_t* setUp() {
    RequireResources(pthread_mutexattr_settype(&attributes_, PTHREAD_MUTEX_RECURSIVE));
    return &attributes_;
  }

 private:
  pthread_mutexattr_t attributes_;
};

}  // namespace

struct UnixCriticalSection::State {
  State() {
    RecursiveMutexAttributes attributes;
    RequireResources(pthread_mutex_init(&mutex_, attributes.setUp()));
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() { pthread_mutex_destroy(&mutex_); }

  void acquired() {
    owner_.store(pthread_self(), std::memory_order_relaxed);
    ++lockCount_;
  }

  // Read by threads that do not hold the mutex. Relaxed is enough: only the owner can find its own
  // identity here, and that it wrote itself.
  std::atomic<pthread_t> owner_{0};
  pthread_mutex_t mutex_;
  std::int32_t lockCount_ = 0;
};

UnixCriticalSection::UnixCriticalSection() : state_(std::make_unique<State>()) {}

UnixCriticalSection::~UnixCriticalSection() = default;

void UnixCriticalSection::enter() const {
  pthread_mutex_lock(&state_->mutex_);
  state_->acquired();
}

bool UnixCriticalSection::tryEnter() const {
  const int result = pthread_mutex_trylock(&state_->mutex_);
  // Any other result counts as acquired, errors included: callers know only held by others or not.
  if (result == EBUSY || result == EINVAL) return false;
  state_->acquired();
  return true;
}

bool UnixCriticalSection::inOwningThread() const {
  return pthread_equal(state_->owner_.load(std::memory_order_relaxed), pthread_self()) != 0;
}

void UnixCriticalSection::leave() const {
  if (!inOwningThread()) return;
  if (state_->lockCount_ > 0) --state_->lockCount_;
  if (state_->lockCount_ == 0) state_->owner_.store(0, std::memory_order_relaxed);
  pthread_mutex_unlock(&state_->mutex_);
}

}  // namespace qv::kit::osdep
