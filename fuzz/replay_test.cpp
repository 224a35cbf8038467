#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/StopAtFailure.h"

// One declaration and one row for each fuzzer, from the list that the build makes of their files.
#define QV_FUZZ_TARGET(name) \
  extern "C" int qv_fuzz_##name(const std::uint8_t* data, std::size_t size);
#include "fuzz_targets.def"
#undef QV_FUZZ_TARGET

// Every fuzzer on the inputs that are kept for it: what it starts from, and what it once found.

namespace {

struct Target {
  const char* name;
  int (*run)(const std::uint8_t* data, std::size_t size);
};

constexpr Target kTargets[] = {
#define QV_FUZZ_TARGET(name) {#name, &qv_fuzz_##name},
#include "fuzz_targets.def"
#undef QV_FUZZ_TARGET
};

void PrintTo(const Target& target, std::ostream* out) {
  *out << target.name;
}

using Bytes = std::vector<std::uint8_t>;

/// The files of a folder in the order of their names; none when there is no folder.
std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::exists(folder)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::filesystem::path> InputsOf(const std::string& target) {
  const std::filesystem::path root(QV_FUZZ_DIRECTORY);
  std::vector<std::filesystem::path> inputs = FilesOf(root / "seeds" / target);
  for (const auto& file : FilesOf(root / "regressions" / target))
    inputs.push_back(file);
  return inputs;
}

/// Exactly as many bytes as the file has, so that reading past them is noticed.
Bytes ContentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  Bytes contents(std::istreambuf_iterator<char>(stream), {});
  contents.shrink_to_fit();
  EXPECT_TRUE(stream) << "cannot read " << file;
  return contents;
}

class Replay : public testing::TestWithParam<Target> {};

TEST_P(Replay, OfEveryInputBreaksNoProperty) {
  const std::vector<std::filesystem::path> inputs = InputsOf(GetParam().name);
  ASSERT_FALSE(inputs.empty()) << "no inputs for " << GetParam().name;
  for (const std::filesystem::path& input : inputs) {
    SCOPED_TRACE(input.string());
    const Bytes bytes = ContentsOf(input);
    EXPECT_EQ(GetParam().run(bytes.data(), bytes.size()), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(All, Replay, testing::ValuesIn(kTargets),
                         [](const auto& target) { return std::string(target.param.name); });

/// The folders beside the fuzzers that are named after none of them.
std::vector<std::string> Strangers(const std::string& folder) {
  std::vector<std::string> strangers;
  for (const auto& entry : FilesOf(std::filesystem::path(QV_FUZZ_DIRECTORY) / folder)) {
    const std::string name = entry.filename();
    const bool isTarget = std::any_of(std::begin(kTargets), std::end(kTargets),
                                      [&](const Target& target) { return name == target.name; });
    if (!isTarget) strangers.push_back(name);
  }
  return strangers;
}

TEST(Inputs, LieInFoldersNamedAfterFuzzers) {
  EXPECT_EQ(Strangers("seeds"), std::vector<std::string>());
  EXPECT_EQ(Strangers("regressions"), std::vector<std::string>());
}

TEST(TheDocumentation, TellsOfEveryFuzzerWhatItDoesAndHowLongItHasRun) {
  std::ifstream file(std::filesystem::path(QV_FUZZ_DIRECTORY).parent_path() /
                     "docs/reliability.md");
  const std::string text(std::istreambuf_iterator<char>(file), {});
  for (const Target& target : kTargets) {
    const std::string row = "\n| `" + std::string(target.name) + "` | ";
    EXPECT_NE(text.find(row), text.rfind(row)) << "no two rows of " << target.name;
  }
}

TEST(Fuzzers, EndAtAFailedAssertion) {
  ASSERT_EQ(LLVMFuzzerInitialize(nullptr, nullptr), 0);
  EXPECT_TRUE(GTEST_FLAG_GET(throw_on_failure));
}

}  // namespace
