#include <pthread.h>

#include "bench/Bench.h"
#include "kit/osdep/AtomicInt.h"
#include "kit/osdep/CriticalSection.h"

namespace qv::bench {
namespace {

using kit::osdep::AtomicInt;
using kit::osdep::CriticalSection;

class RecursiveMutex {
 public:
  RecursiveMutex() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &attributes);
    pthread_mutexattr_destroy(&attributes);
  }
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;
  ~RecursiveMutex() { pthread_mutex_destroy(&mutex_); }

  void lock() { pthread_mutex_lock(&mutex_); }
  void unlock() { pthread_mutex_unlock(&mutex_); }

 private:
  pthread_mutex_t mutex_;
};

void EnterAndLeave(benchmark::State& state) {
  const CriticalSection section;
  for (auto _ : state) {
    section.enter();
    section.leave();
  }
}

void LockAndUnlock(benchmark::State& state) {
  RecursiveMutex mutex;
  for (auto _ : state) {
    mutex.lock();
    mutex.unlock();
  }
}

void Increment(benchmark::State& state) {
  AtomicInt number(0);
  for (auto _ : state)
    benchmark::DoNotOptimize(number.increment());
}

void IncrementUnderMutex(benchmark::State& state) {
  RecursiveMutex mutex;
  int number = 0;
  for (auto _ : state) {
    mutex.lock();
    benchmark::DoNotOptimize(++number);
    mutex.unlock();
  }
}

}  // namespace

void AddBenchmarks() {
  Add("CriticalSection", EnterAndLeave);
  Add("CriticalSection/pthread", LockAndUnlock);
  Add("AtomicInt", Increment);
  Add("AtomicInt/pthread", IncrementUnderMutex);
}

}  // namespace qv::bench
