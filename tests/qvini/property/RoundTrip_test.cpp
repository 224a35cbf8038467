#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvini/qvini.h"
#include "tests/qvini/property/Document.h"
#include "tests/qvini/property/RandomSettings.h"
#include "tests/qvini/property/RandomText.h"
#include "tests/qvini/property/RoundTripCheck.h"
#include "tests/reference/IniReference.h"

using qv::tests::Document;
using qv::tests::IniReference;
using qv::tests::RandomText;
using qv::tests::RoundTripCheck;
using qv::tests::SettingsOf;
using qv::tests::SetWrapping;
using qv::tests::Told;

namespace {

constexpr std::uint32_t kDocuments = 10;

/// Puts the same items into both; half of the documents hold nothing that files treat specially.
void PutItems(RandomText& random, const Document& document, IniReference& reference) {
  static const std::vector<char> kQuotes{0, 0, 34, 34, 39, '|'};
  const bool tame = random.below(2) == 0;
  const auto text = [&](std::uint32_t most) {
    const std::uint32_t fragments = random.below(most);
    return tame ? random.tame(fragments + 1) : random.wild(fragments);
  };
  const std::vector<std::string> sections{text(4), text(4), "s", "(null)"};
  for (std::uint32_t count = random.below(12); count > 0; --count) {
    const std::string section = sections[random.below(tame ? 3 : 4)];
    const std::string key = random.below(3) == 0 ? random.name() : text(5);
    const std::string value = text(random.below(4) == 0 ? 120 : 9);
    const char quote = random.oneOf(kQuotes);
    ASSERT_EQ(document.put(section, key, value, quote), reference.put(section, key, value, quote));
  }
}

class RoundTrip : public testing::TestWithParam<unsigned> {
 protected:
  /// Runs check for many documents with every combination of the other flags.
  template <class Check>
  void forAllSettings(const Check& check) {
    for (unsigned combination = 0; combination < 32; ++combination) {
      for (std::uint32_t number = 0; number < kDocuments; ++number) {
        const std::uint32_t seed = (GetParam() * 32 + combination) * kDocuments + number;
        RandomText random(seed);
        IniReference reference;
        reference.readFlags = GetParam();
        reference.writeFlags = (combination & 24U) | ((combination & 4U) >> 2U);
        reference.caseSensitive = (combination & 2U) != 0 ? 1 : 0;
        reference.mergeDuplicates = (combination & 1U) != 0 ? 1 : 0;
        SetWrapping(random, reference);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + SettingsOf(reference));
        check(random, reference);
        if (HasFailure()) return;
      }
    }
  }

  RoundTripCheck check_;
};

}  // namespace

TEST_P(RoundTrip, WhatWasPutAndWrittenReadsBackEqualButForTheNamedLosses) {
  forAllSettings([this](RandomText& random, IniReference& reference) {
    const Document document(reference);
    PutItems(random, document, reference);
    if (HasFatalFailure()) return;
    ASSERT_EQ(Told(document, reference), Told(reference));
    check_.writeAndRead(document, reference);
  });
  // The check is worth what it has seen.
  EXPECT_GT(check_.lossless(), 20);
  EXPECT_GT(check_.unwritable(), 8);
}

TEST_P(RoundTrip, AnyTextIsReadAsTheRulesSayAndSoIsWhatIsWrittenOfIt) {
  forAllSettings([this](RandomText& random, IniReference& reference) {
    check_.read(random.file(random.below(30)), reference);
  });
  EXPECT_GT(check_.lossless(), 8);
  EXPECT_GT(check_.refused(), 4);
}

INSTANTIATE_TEST_SUITE_P(ReadFlags, RoundTrip, testing::Range(0U, 16U));
