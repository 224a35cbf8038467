#include "kit/osdep/UnixCriticalSection.h"

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

UnixCriticalSection::State::State() {
  RecursiveMutexAttributes attributes;
  RequireResources(pthread_mutex_init(&mutex_, attributes.setUp()));
}

UnixCriticalSection::State::~State() {
  pthread_mutex_destroy(&mutex_);
}

UnixCriticalSection::UnixCriticalSection() : state_(std::make_unique<State>()) {}

UnixCriticalSection::~UnixCriticalSection() = default;

}  // namespace qv::kit::osdep
