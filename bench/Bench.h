#pragma once

#include <benchmark/benchmark.h>

#include <initializer_list>

namespace qv::bench {

/// What a program of benchmarks defines: calls Add for each.
void AddBenchmarks();

using Function = void (*)(benchmark::State&);

/// Adds what is measured under a name: "WORK" for ours, "WORK/PEER" for what it is measured
/// against.
void Add(const char* name, Function function);

/// The same for each of some sizes, which the function finds in state.range(0).
void Add(const char* name, Function function, std::initializer_list<long> sizes);

/// The same by threads at once: a round's time is that by the clock, divided by what all of them
/// did.
void AddThreads(const char* name, Function function, int threads);

/// Bytes of memory that the process holds. A benchmark that measures memory gives its figure, in
/// bytes, as the counter "bytes".
long ResidentBytes();

/// Ends the program unless what was measured did its work.
void Require(bool holds);

}  // namespace qv::bench
