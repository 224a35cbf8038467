// Takes, beside Google Benchmark's own arguments:
//     --iterations=N   each benchmark goes round its loop N times, however long that takes. One
//                      round is a test that it works; the instructions of 2000 rounds less those of
//                      1000 are those of 1000 rounds, without all that happens once.
//     --reversed       the benchmark that was added last comes first
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

#include "bench/Bench.h"

namespace qv::bench {
namespace {

struct Added {
  const char* name;
  Function function;
  std::vector<long> sizes;
  int threads;  // 0 where the processor's time counts
};

std::vector<Added> g_added;

/// Takes the first argument that begins so away, and gives what follows; null where there is none.
const char* Take(std::string_view begin, int& count, char** arguments) {
  for (int i = 1; i < count; ++i) {
    const char* const argument = arguments[i];
    if (std::string_view(argument).substr(0, begin.size()) != begin) continue;
    std::memmove(arguments + i, arguments + i + 1,
                 static_cast<std::size_t>(count - i) * sizeof *arguments);
    --count;
    return argument + begin.size();
  }
  return nullptr;
}

/// 0 where there is no number.
long Number(const char* text) {
  long number = 0;
  if (text != nullptr) std::from_chars(text, text + std::strlen(text), number);
  return number;
}

void Register(const Added& added, long iterations) {
  auto* const registered = ::benchmark::RegisterBenchmark(added.name, added.function);
  for (const long size : added.sizes)
    registered->Arg(size);
  if (added.threads > 0) registered->Threads(added.threads)->UseRealTime();
  if (iterations > 0) registered->Iterations(iterations);
}

}  // namespace

void Add(const char* name, Function function) {
  Add(name, function, {});
}

void Add(const char* name, Function function, std::initializer_list<long> sizes) {
  g_added.push_back({name, function, sizes, 0});
}

void AddThreads(const char* name, Function function, int threads) {
  g_added.push_back({name, function, {}, threads});
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
  const long iterations = qv::bench::Number(qv::bench::Take("--iterations=", count, arguments));
  const bool isReversed = qv::bench::Take("--reversed", count, arguments) != nullptr;
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
  qv::bench::AddBenchmarks();
  if (isReversed) std::reverse(qv::bench::g_added.begin(), qv::bench::g_added.end());
  for (const qv::bench::Added& added : qv::bench::g_added)
    qv::bench::Register(added, iterations);
  return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}
