// A process that does one thing and prints how many nanoseconds that took:
//     init LIBRARY        Init, by a library that is in memory already
//     start DIRECTORY     what Init has OpenSSL do, by hand
//     create DIRECTORY    the same with a pair, "key" and "certificate" in the current directory
// What is measured is a function with a plain name, so that a profiler can be told to count it.
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "bench/process/BareStart.h"

namespace {

using Clock = std::chrono::steady_clock;

extern "C" [[gnu::noinline]] bool MeasuredInit(void* init) {
  return reinterpret_cast<void* (*)()>(init)() != nullptr;
}

template <typename Work>
int Measure(Work work) {
  const auto begin = Clock::now();
  const bool worked = work();
  const std::chrono::nanoseconds took = Clock::now() - begin;
  if (worked) std::printf("%lld\n", static_cast<long long>(took.count()));
  return worked ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const std::string work = arguments[1];
  const char* const place = arguments[2];
  if (work == "start") return Measure([&] { return MeasuredStart(place); });
  if (work == "create") return Measure([&] { return MeasuredCreate(place); });
  if (work != "init") return 2;
  void* const library = ::dlopen(place, RTLD_NOW);
  void* const init = library == nullptr ? nullptr : ::dlsym(library, "QVSSLINIT_Init");
  return init == nullptr ? 1 : Measure([&] { return MeasuredInit(init); });
}
