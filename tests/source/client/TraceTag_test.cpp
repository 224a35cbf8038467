#include "source/client/TraceTag.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>

#include "tests/doubles/ObjectLayout.h"

namespace {

using qv::traceengine::TraceTag;

/// A tag as another module sees it.
struct TagLayout {
  const void* operations;
  char name[128];
  int id;
  bool enabled;
};
static_assert(sizeof(TagLayout) == sizeof(TraceTag));

TagLayout LayoutOf(const TraceTag& tag) {
  TagLayout layout;
  std::memcpy(&layout, static_cast<const void*>(&tag), sizeof(layout));
  return layout;
}

struct DerivedTag : TraceTag {
  virtual void firstOfItsOwn() {}
};

TEST(TraceTag, HasNoVirtualOperationsButItsDestructors) {
  EXPECT_EQ(qv::tests::VirtualSlot(&DerivedTag::firstOfItsOwn), 2u);
  EXPECT_TRUE(std::has_virtual_destructor_v<TraceTag>);
}

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
  const TagLayout layout = LayoutOf(tag);
  EXPECT_EQ(std::string(layout.name, sizeof(layout.name)), "ab" + std::string(126, '\0'));
}

TEST(TraceTag, IsLaidOutAsNameIdAndSwitch) {
  TraceTag tag;
  tag.Initialize("Certificate", 5, true);
  const TagLayout layout = LayoutOf(tag);
  EXPECT_STREQ(layout.name, "Certificate");
  EXPECT_EQ(layout.id, 5);
  EXPECT_TRUE(layout.enabled);
}

TEST(TraceTag, CopiesAreEqualInEveryByteOfTheName) {
  TraceTag tag;
  tag.Initialize(std::string(127, 'n').c_str(), 1, true);
  tag.Initialize("name", 9, true);
  TraceTag copy(tag);
  const TagLayout layout = LayoutOf(copy);
  EXPECT_EQ(std::memcmp(layout.name, LayoutOf(tag).name, sizeof(layout.name)), 0);
  EXPECT_EQ(layout.id, 9);
  EXPECT_TRUE(layout.enabled);
}

}  // namespace
