#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
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
    Require(init != nullptr && uninit != nullptr && init() != nullptr);
    std::filesystem::remove_all(store);
  }

  decltype(&QVSSLINIT_Init) init;
  decltype(&QVSSLINIT_Uninit) uninit;
};

const Library& TheLibrary() {
  static const Library library;
  return library;
}

QvSslInitHandle* Init(const Library& library) {
  QvSslInitHandle* const handle = library.init();
  Require(handle != nullptr);
  return handle;
}

void InitAndUninit(benchmark::State& state) {
  const Library& library = TheLibrary();
  for (auto _ : state)
    library.uninit(Init(library));
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

/// Handles, and how they come and go.
struct Handle {
  static void* take() { return Init(TheLibrary()); }
  static void giveBack(void* handle) { TheLibrary().uninit(static_cast<QvSslInitHandle*>(handle)); }
};

/// Objects of the same size, as the heap has them.
struct Object {
  static void* take() { return ::operator new(sizeof(qvsslinit::SslInitializer)); }
  static void giveBack(void* object) { ::operator delete(object); }
};

using Things = std::vector<void*>;

void AsTaken(Things& /*things*/) {}
void Reverse(Things& things) {
  std::reverse(things.begin(), things.end());
}
void Shuffle(Things& things) {
  std::shuffle(things.begin(), things.end(), std::mt19937(1));
}

void TakeAll(benchmark::State& state) {
  Things things(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::generate(things.begin(), things.end(), Handle::take);
    state.PauseTiming();
    std::for_each(things.begin(), things.end(), Handle::giveBack);
    state.ResumeTiming();
  }
}

template <typename Thing, void (*arrange)(Things&)>
void GiveAllBack(benchmark::State& state) {
  Things things(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    std::generate(things.begin(), things.end(), Thing::take);
    arrange(things);
    state.ResumeTiming();
    std::for_each(things.begin(), things.end(), Thing::giveBack);
  }
}

void HandleMemory(benchmark::State& state) {
  constexpr long kHandles = 1'000'000;
  const Library& library = TheLibrary();
  for (auto _ : state) {
    const long before = ResidentBytes();
    for (long i = 0; i < kHandles; ++i)
      Init(library);
    state.counters["bytes"] = static_cast<double>(ResidentBytes() - before) / kHandles;
  }
}

void MemoryOfNumber(benchmark::State& state) {
  for (auto _ : state)
    state.counters["bytes"] = sizeof(std::int32_t);
}

}  // namespace

void AddBenchmarks() {
  Add("Init", InitAndUninit);
  Add("Init/locks", FourLocksAndAnObject);
  const auto addSizes = [](const char* name, Function function) {
    Add(name, function, {1000, 10'000, 100'000, 1'000'000});
  };
  addSizes("Take", TakeAll);
  addSizes("OldestFirst", GiveAllBack<Handle, AsTaken>);
  addSizes("OldestFirst/delete", GiveAllBack<Object, AsTaken>);
  addSizes("NewestFirst", GiveAllBack<Handle, Reverse>);
  addSizes("NewestFirst/delete", GiveAllBack<Object, Reverse>);
  addSizes("Shuffled", GiveAllBack<Handle, Shuffle>);
  addSizes("Shuffled/delete", GiveAllBack<Object, Shuffle>);
  Add("HandleMemory", HandleMemory);
  Add("HandleMemory/data", MemoryOfNumber);
}

}  // namespace qv::bench
