#include "bench/Bench.h"
#include "bench/RecursiveMutex.h"
#include "kit/osdep/AtomicInt.h"
#include "kit/osdep/CriticalSection.h"

namespace qv::bench {
namespace {

using kit::osdep::AtomicInt;
using kit::osdep::CriticalSection;

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
