// Takes, beside Google Benchmark's own arguments, --iterations=N: each benchmark goes round its
// loop N times, however long that takes. One round is a test that it works; the instructions of
// 2000 rounds less those of 1000 are those of 1000 rounds, without all that happens once.
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

#include "bench/Bench.h"

namespace qv::bench {
namespace {

using Registered = ::benchmark::internal::Benchmark;

std::vector<Registered*> g_added;

/// Takes the argument away, and gives its number; 0 where it is missing or no number.
long TakeIterations(int& count, char** arguments) {
  constexpr std::string_view kName = "--iterations=";
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (argument.substr(0, kName.size()) != kName) continue;
    long iterations = 0;
    std::from_chars(argument.data() + kName.size(), argument.data() + argument.size(), iterations);
    std::memmove(arguments + i, arguments + i + 1,
                 static_cast<std::size_t>(count - i) * sizeof *arguments);
    --count;
    return iterations;
  }
  return 0;
}

}  // namespace

void Add(const char* name, Function function) {
  g_added.push_back(::benchmark::RegisterBenchmark(name, function));
}

void Add(const char* name, Function function, std::initializer_list<long> sizes) {
  Add(name, function);
  for (const long size : sizes)
    g_added.back()->Arg(size);
}

void AddThreads(const char* name, Function function, int threads) {
  Add(name, function);
  g_added.back()->Threads(threads)->UseRealTime();
}

long ResidentBytes() {
  std::ifstream status("/proc/self/statm");
  long all = 0;
  long resident = 0;
  status >> all >> resident;
  Require(resident > 0);
  return resident * sysconf(_SC_PAGESIZE);
}

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace qv::bench

int main(int count, char** arguments) {
  const long iterations = qv::bench::TakeIterations(count, arguments);
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
  qv::bench::AddBenchmarks();
  if (iterations > 0) {
    for (auto* added : qv::bench::g_added)
      added->Iterations(iterations);
  }
  return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}
