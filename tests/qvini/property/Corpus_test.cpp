#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/qvini/property/RandomSettings.h"
#include "tests/qvini/property/RandomText.h"
#include "tests/qvini/property/RoundTripCheck.h"
#include "tests/reference/IniReference.h"

using qv::tests::IniReference;
using qv::tests::RandomText;
using qv::tests::RoundTripCheck;
using qv::tests::SetEverything;
using qv::tests::SettingsOf;

namespace {

constexpr int kMutations = 150;

/// The files of the corpus by name, in the order of their names.
std::vector<std::string> Corpus() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(QV_INI_CORPUS_DIRECTORY))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string TextOf(const std::string& name) {
  std::ifstream file(std::string(QV_INI_CORPUS_DIRECTORY) + "/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/// Changes the text in one of the ways in which files are damaged or forged.
void Mutate(RandomText& random, const std::vector<std::string>& corpus, std::string& text) {
  const auto place = [&] { return random.below(static_cast<std::uint32_t>(text.size()) + 1); };
  const std::uint32_t at = place();
  const std::uint32_t length = random.below(random.below(8) == 0 ? 300 : 6);
  switch (random.below(6)) {
    case 0:
      if (at < text.size()) text[at] = static_cast<char>(random.below(256));
      break;
    case 1:
      text.insert(at, random.wild(length));
      break;
    case 2:
      text.erase(at, length);
      break;
    case 3:
      text.insert(place(), text.substr(at, length));
      break;
    case 4:
      text.insert(at, std::string(length, static_cast<char>(random.below(128))));
      break;
    default: {
      const std::string other = TextOf(random.oneOf(corpus));
      text.insert(at, other, random.below(static_cast<std::uint32_t>(other.size()) + 1), length);
    }
  }
}

class CorpusFile : public testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(CorpusFile, AndDamagedCopiesOfItAreReadAndWrittenByTheRules) {
  const std::vector<std::string> corpus = Corpus();
  RoundTripCheck check;
  for (std::uint32_t seed = 0; seed < kMutations; ++seed) {
    RandomText random(seed);
    std::string text = TextOf(GetParam());
    for (std::uint32_t count = seed == 0 ? 0 : random.below(5); count > 0; --count)
      Mutate(random, corpus, text);
    IniReference reference;
    SetEverything(random, reference);
    SCOPED_TRACE(GetParam() + ", seed " + std::to_string(seed) + ": " + SettingsOf(reference));
    check.read(text, reference);
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Files, CorpusFile, testing::ValuesIn(Corpus()));

TEST(TheCorpus, IsThere) {
  EXPECT_GE(Corpus().size(), 16U);
}
