#include <sys/time.h>

#include "bench/Bench.h"
#include "kit/osdep/CurrentSystemTime.h"

namespace qv::bench {
namespace {

void TimeStamp(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(kit::osdep::CurrentSystemTime());
}

void ReadClock(benchmark::State& state) {
  timeval now{};
  for (auto _ : state) {
    ::gettimeofday(&now, nullptr);
    benchmark::DoNotOptimize(now);
  }
}

}  // namespace

void AddBenchmarks() {
  Add("TimeStamp", TimeStamp);
  Add("TimeStamp/gettimeofday", ReadClock);
}

}  // namespace qv::bench
