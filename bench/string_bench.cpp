#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <string>
#include <string_view>

#include "bench/Bench.h"
#include "kit/StringBase.h"

namespace qv::bench {
namespace {

using kit::String;
using kit::WString;

template <typename Character, typename Text>
void RequireAll(const Text& text, long length) {
  const std::basic_string<Character> expected(static_cast<std::size_t>(length), Character{'a'});
  Require(std::equal(text.begin(), text.end(), expected.begin(), expected.end()));
}

/// Appended one by one until they are as many as state.range(0).
template <typename Text, typename Character>
void Characters(benchmark::State& state) {
  const auto appended = [&] {
    Text text;
    for (long count = state.range(0); count > 0; --count)
      text += Character{'a'};
    return text;
  };
  for (auto _ : state)
    benchmark::DoNotOptimize(appended().begin());
  RequireAll<Character>(appended(), state.range(0));
}

/// The same by pieces of 16, the last of which may be shorter.
template <typename Text, typename Character>
void Pieces(benchmark::State& state) {
  const std::basic_string<Character> piece(16, Character{'a'});
  const auto appended = [&] {
    Text text;
    for (long count = state.range(0); count > 0; count -= 16)
      text.append(piece.data(), static_cast<std::uint32_t>(count < 16 ? count : 16));
    return text;
  };
  for (auto _ : state)
    benchmark::DoNotOptimize(appended().begin());
  RequireAll<Character>(appended(), state.range(0));
}

/// Texts of 64 characters.
template <typename Character>
struct Pair {
  std::basic_string<Character> one = std::basic_string<Character>(64, Character{'x'});
  std::basic_string<Character> other = one;
  bool areEqual = false;

  static Pair WithOtherCase() {
    Pair pair;
    pair.other.assign(64, Character{'X'});
    pair.areEqual = true;
    return pair;
  }
  static Pair WithOtherEnd() {
    Pair pair;
    pair.other.back() = Character{'y'};
    return pair;
  }
};

template <typename Text, typename Character, Pair<Character> (*makePair)()>
void Equal(benchmark::State& state) {
  const Pair<Character> pair = makePair();
  const Text one(pair.one.c_str());
  const Text other(pair.other.c_str());
  for (auto _ : state)
    benchmark::DoNotOptimize(one == other);
  Require((one == other) == pair.areEqual);
}

int Compare(const char* one, const char* other) {
  return ::strcasecmp(one, other);
}
int Compare(const wchar_t* one, const wchar_t* other) {
  return ::wcscasecmp(one, other);
}

template <typename Character, Pair<Character> (*makePair)()>
void EqualByLibrary(benchmark::State& state) {
  const Pair<Character> pair = makePair();
  const Character* one = pair.one.c_str();
  const Character* other = pair.other.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(one);
    benchmark::DoNotOptimize(Compare(one, other) == 0);
  }
  Require((Compare(one, other) == 0) == pair.areEqual);
}

}  // namespace

void AddBenchmarks() {
  Add("Characters", Characters<String, char>, {1, 100, 1000, 10'000, 100'000, 1'000'000});
  Add("Characters/std", Characters<std::string, char>, {1, 100, 1'000'000});
  Add("WideCharacters", Characters<WString, wchar_t>, {1, 100, 1'000'000});
  Add("WideCharacters/std", Characters<std::wstring, wchar_t>, {1, 100, 1'000'000});
  Add("Pieces", Pieces<String, char>, {1, 100, 1'000'000});
  Add("Pieces/std", Pieces<std::string, char>, {1, 100, 1'000'000});
  Add("WidePieces", Pieces<WString, wchar_t>, {1, 100, 1'000'000});
  Add("WidePieces/std", Pieces<std::wstring, wchar_t>, {1, 100, 1'000'000});
  Add("OtherCase", Equal<String, char, Pair<char>::WithOtherCase>);
  Add("OtherCase/libc", EqualByLibrary<char, Pair<char>::WithOtherCase>);
  Add("OtherEnd", Equal<String, char, Pair<char>::WithOtherEnd>);
  Add("OtherEnd/libc", EqualByLibrary<char, Pair<char>::WithOtherEnd>);
  Add("WideOtherCase", Equal<WString, wchar_t, Pair<wchar_t>::WithOtherCase>);
  Add("WideOtherCase/libc", EqualByLibrary<wchar_t, Pair<wchar_t>::WithOtherCase>);
  Add("WideOtherEnd", Equal<WString, wchar_t, Pair<wchar_t>::WithOtherEnd>);
  Add("WideOtherEnd/libc", EqualByLibrary<wchar_t, Pair<wchar_t>::WithOtherEnd>);
}

}  // namespace qv::bench
