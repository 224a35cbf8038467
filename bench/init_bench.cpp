#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/Bench.h"
#include "bench/RecursiveMutex.h"
#include "include/qvsslinit.h"
#include "source/SslInitializer.h"

namespace qv::bench {
namespace {

/// The library as it is built, over the system's OpenSSL, with a handle out for as long as the
/// program lives.
struct Library {
  Library() {
    char store[] = "/tmp/qvsslinit-bench-XXXXXX";
    Require(::mkdtemp(store) != nullptr);
    ::setenv("QVPUBAPPDATADIR", store, 1);
    // With a certificate there, for no two keys take the same time.
    const std::string servers = std::string(store) + "/certstore/server_certs";
    std::filesystem::create_directories(servers);
    std::ofstream(servers + "/server_0.cer") << "there";
    void* const library = ::dlopen(QV_LIBRARY, RTLD_NOW);
    Require(library != nullptr);
    init = reinterpret_cast<decltype(init)>(::dlsym(library, "QVSSLINIT_Init"));
    uninit = reinterpret_cast<decltype(uninit)>(::dlsym(library, "QVSSLINIT_Uninit"));
    Require(init() != nullptr);
    std::filesystem::remove_all(store);
  }

  decltype(&QVSSLINIT_Init) init;
  decltype(&QVSSLINIT_Uninit) uninit;
};

const Library& TheLibrary() {
  static const Library library;
  return library;
}

void InitAndUninit(benchmark::State& state) {
  const Library& library = TheLibrary();
  for (auto _ : state)
    library.uninit(library.init());
}

void FourLocksAndAnObject(benchmark::State& state) {
  RecursiveMutex mutexes[4];
  for (auto _ : state) {
    for (RecursiveMutex& mutex : mutexes) {
      mutex.lock();
      mutex.unlock();
    }
    void* object = ::operator new(sizeof(qvsslinit::SslInitializer));
    benchmark::DoNotOptimize(object);
    ::operator delete(object);
  }
}

using Handles = std::vector<QvSslInitHandle*>;

/// Gives back as many handles as the benchmark's size, in the order that arrange makes.
template <typename Arrange>
void ReleaseAll(benchmark::State& state, Arrange arrange) {
  const Library& library = TheLibrary();
  Handles handles(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    std::generate(handles.begin(), handles.end(), library.init);
    arrange(handles);
    state.ResumeTiming();
    for (QvSslInitHandle* const handle : handles)
      library.uninit(handle);
  }
}

void ReleaseOldestFirst(benchmark::State& state) {
  ReleaseAll(state, [](Handles&) {});
}

void ReleaseNewestFirst(benchmark::State& state) {
  ReleaseAll(state, [](Handles& handles) { std::reverse(handles.begin(), handles.end()); });
}

void ReleaseShuffled(benchmark::State& state) {
  ReleaseAll(state, [](Handles& handles) {
    std::shuffle(handles.begin(), handles.end(), std::mt19937(1));
  });
}

}  // namespace

void AddBenchmarks() {
  Add("Init", InitAndUninit);
  Add("Init/locks", FourLocksAndAnObject);
  for (const auto& [name, function] : {std::pair{"OldestFirst", ReleaseOldestFirst},
                                       {"NewestFirst", ReleaseNewestFirst},
                                       {"Shuffled", ReleaseShuffled}})
    Add(name, function, {1000, 10000, 100000, 1000000});
}

}  // namespace qv::bench
