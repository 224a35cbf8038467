// A process that does one thing and prints how many nanoseconds of the processor that took:
//     init LIBRARY        Init, by a library that is in memory already
//     start DIRECTORY     what Init has OpenSSL do, by hand
//     create DIRECTORY    the same with a pair, "key" and "certificate" in the current directory
// A third argument is a library whose OpenSSL is to give the same random numbers in every process.
// What is measured is a function with a plain name, so that a profiler can be told to count it.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "bench/process/BareStart.h"
#include "bench/process/SameRandom.h"

namespace {

/// Of the processor, for this process.
long long Nanoseconds() {
  std::timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

extern "C" [[gnu::noinline]] bool MeasuredInit(void* init) {
  return reinterpret_cast<void* (*)()>(init)() != nullptr;
}

template <typename Work>
int Measure(Work work) {
  const long long begin = Nanoseconds();
  const bool worked = work();
  const long long took = Nanoseconds() - begin;
  if (worked) std::printf("%lld\n", took);
  return worked ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3 && count != 4) return 2;
  if (count == 4 && !qv::bench::UseSameRandom(arguments[3])) return 1;
  const std::string work = arguments[1];
  const char* const place = arguments[2];
  if (work == "start") return Measure([&] { return MeasuredStart(place); });
  if (work == "create") return Measure([&] { return MeasuredCreate(place); });
  if (work != "init") return 2;
  void* const library = ::dlopen(place, RTLD_NOW);
  void* const init = library == nullptr ? nullptr : ::dlsym(library, "QVSSLINIT_Init");
  return init == nullptr ? 1 : Measure([&] { return MeasuredInit(init); });
}
