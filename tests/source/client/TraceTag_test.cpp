#include "source/client/TraceTag.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/doubles/ObjectLayout.h"

namespace {

using qv::tests::LayoutOf;
using qv::traceengine::TraceTag;

TEST(TraceTag, IsNamelessAndOffAtFirst) {
  const TraceTag tag;
  EXPECT_STREQ(tag.name(), "");
  EXPECT_EQ(tag.id(), 0);
  EXPECT_FALSE(tag.enabled());
}

TEST(TraceTag, InitializeStoresAllThree) {
  TraceTag tag;
  EXPECT_EQ(tag.Initialize("Certificate", 5, true), 0);
  EXPECT_STREQ(tag.name(), "Certificate");
  EXPECT_EQ(tag.id(), 5);
  EXPECT_TRUE(tag.enabled());
}

TEST(TraceTag, InitializeTakesAnyIdAndAnEmptyName) {
  TraceTag tag;
  tag.Initialize("before", 1, true);
  EXPECT_EQ(tag.Initialize("", -3, false), 0);
  EXPECT_STREQ(tag.name(), "");
  EXPECT_EQ(tag.id(), -3);
  EXPECT_FALSE(tag.enabled());
}

TEST(TraceTag, InitializeWithoutANameFailsButStoresTheRest) {
  TraceTag tag;
  tag.Initialize("before", 1, false);
  EXPECT_EQ(tag.Initialize(nullptr, 7, true), -1);
  EXPECT_STREQ(tag.name(), "before");
  EXPECT_EQ(tag.id(), 7);
  EXPECT_TRUE(tag.enabled());
}

TEST(TraceTag, InitializeDropsANameOf128CharactersSilently) {
  TraceTag tag;
  tag.Initialize("before", 1, false);
  EXPECT_EQ(tag.Initialize(std::string(128, 'n').c_str(), 7, true), 0);
  EXPECT_STREQ(tag.name(), "before");
  EXPECT_EQ(tag.id(), 7);
  EXPECT_TRUE(tag.enabled());
}

TEST(TraceTag, InitializeTakesANameOf127Characters) {
  TraceTag tag;
  const std::string name(127, 'n');
  EXPECT_EQ(tag.Initialize(name.c_str(), 7, true), 0);
  EXPECT_EQ(tag.name(), name);
}

TEST(TraceTag, InitializeLeavesNothingOfAFormerName) {
  TraceTag tag;
  tag.Initialize(std::string(127, 'n').c_str(), 1, true);
  tag.Initialize("ab", 1, true);
  const auto layout = LayoutOf<TraceTagLayout>(tag);
  EXPECT_EQ(std::string(layout.name, sizeof(layout.name)), "ab" + std::string(126, '\0'));
}

TEST(TraceTag, CopiesAreEqualInEveryByteOfTheName) {
  TraceTag tag;
  tag.Initialize(std::string(127, 'n').c_str(), 1, true);
  tag.Initialize("name", 9, true);
  TraceTag copy(tag);
  const auto layout = LayoutOf<TraceTagLayout>(copy);
  EXPECT_EQ(std::memcmp(layout.name, LayoutOf<TraceTagLayout>(tag).name, sizeof(layout.name)), 0);
  EXPECT_EQ(layout.id, 9);
  EXPECT_TRUE(layout.enabled);
}

}  // namespace
