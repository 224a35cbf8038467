#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/Bench.h"
#include "kit/AutoBuffer.h"
#include "kit/StatusChain.h"
#include "kit/Vector.h"

namespace qv::bench {
namespace {

using kit::StatusChain;

// A status is passed to an operation that looks at it and leaves it, and is tested.
[[gnu::noinline]] void Operate(StatusChain& status) {
  if (status.code() < 0) return;
  benchmark::ClobberMemory();
}
[[gnu::noinline]] void Operate(int& status) {
  if (status < 0) return;
  benchmark::ClobberMemory();
}

void Chain(benchmark::State& state) {
  for (auto _ : state) {
    StatusChain status;
    status.clear();
    Operate(status);
    benchmark::DoNotOptimize(status.code() < 0);
  }
}

void PlainStatus(benchmark::State& state) {
  for (auto _ : state) {
    int status = -1;
    benchmark::DoNotOptimize(status);
    status = 0;
    Operate(status);
    benchmark::DoNotOptimize(status < 0);
  }
}

/// A std::vector that grows as a rule has it.
template <typename Element, std::size_t (*capacityFor)(std::size_t)>
class Grown : public std::vector<Element> {
 public:
  void push_back(const Element& element) {
    if (this->size() == this->capacity()) this->reserve(capacityFor(this->size() + 1));
    std::vector<Element>::push_back(element);
  }
};

std::size_t DoubleAndOne(std::size_t needed) {
  return 2 * (needed - 1) + 1;
}

std::size_t WithATenthMore(std::size_t needed) {
  return needed + (needed / 10 < 129 ? 128 : needed / 10);
}

struct Bytes : kit::AutoBuffer {
  void push_back(unsigned char byte) { Append(&byte, 1); }
};

template <typename Container>
long ElementsOf(const Container& container) {
  return static_cast<long>(container.size());
}
long ElementsOf(const Bytes& buffer) {
  return static_cast<long>(buffer.Len());
}

template <typename Container>
void Append(benchmark::State& state) {
  for (auto _ : state) {
    Container container;
    for (long count = state.range(0); count > 0; --count)
      container.push_back(1);
    benchmark::DoNotOptimize(container);
    benchmark::ClobberMemory();
  }
  Container container;
  for (long count = state.range(0); count > 0; --count)
    container.push_back(1);
  Require(ElementsOf(container) == state.range(0));
}

}  // namespace

void AddBenchmarks() {
  Add("StatusChain", Chain);
  Add("StatusChain/int", PlainStatus);
  Add("Vector", Append<kit::Vector<int>>, {1, 1000, 10'000, 100'000, 1'000'000});
  Add("Vector/std", Append<Grown<int, DoubleAndOne>>, {1, 1000, 1'000'000});
  Add("AutoBuffer", Append<Bytes>, {1, 1000, 10'000, 100'000, 1'000'000});
  Add("AutoBuffer/std", Append<Grown<unsigned char, WithATenthMore>>, {1, 1000, 1'000'000});
}

}  // namespace qv::bench
