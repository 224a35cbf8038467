#include "qvini/lists.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace {

struct Item {
  const char* name;
};

class List : public testing::Test {
 protected:
  List() {
    const qvini_HashKey key = qvini_NewHashKey();
    qvini_InitList(&list_, &key);
  }
  ~List() override { qvini_ClearList(&list_); }

  Item* add(const std::string& name) {
    names_.push_back(name);
    items_.push_back({names_.back().c_str()});
    EXPECT_EQ(qvini_Append(&list_, &items_.back()), 1);
    return &items_.back();
  }

  void* find(const std::string& name, qvini_Comparison comparison = kInAnyCase) {
    return qvini_Find(&list_, qvini_Whole(name.c_str()), comparison);
  }

  qvini_List list_;
  std::deque<std::string> names_;
  std::deque<Item> items_;
};

TEST_F(List, CountsPositionsFromOne) {
  EXPECT_EQ(qvini_ItemAt(&list_, 1), nullptr);
  Item* const a = add("a");
  Item* const b = add("b");
  EXPECT_EQ(qvini_ItemAt(&list_, 0), nullptr);
  EXPECT_EQ(qvini_ItemAt(&list_, 1), a);
  EXPECT_EQ(qvini_ItemAt(&list_, 2), b);
  EXPECT_EQ(qvini_ItemAt(&list_, 3), nullptr);
  EXPECT_EQ(qvini_ItemAt(&list_, SIZE_MAX), nullptr);
}

TEST_F(List, KeepsTheOrderOfManyItems) {
  std::vector<Item*> added;
  for (int i = 0; i < 1000; ++i)
    added.push_back(add(std::to_string(i)));
  for (std::size_t i = 0; i < added.size(); ++i)
    EXPECT_EQ(qvini_ItemAt(&list_, i + 1), added[i]);
}

TEST_F(List, FindsNothingWhenEmpty) {
  EXPECT_EQ(find("a"), nullptr);
  EXPECT_EQ(find("a", kExactly), nullptr);
  EXPECT_EQ(qvini_Find(&list_, {nullptr, 0}, kInAnyCase), nullptr);
}

TEST_F(List, FindsEveryNameAtEveryLength) {
  std::vector<Item*> added;
  for (int i = 0; i < 300; ++i) {
    added.push_back(add("Name" + std::to_string(i)));
    for (const qvini_Comparison comparison : {kInAnyCase, kExactly}) {
      EXPECT_EQ(find("Name0", comparison), added.front());
      EXPECT_EQ(find("Name" + std::to_string(i), comparison), added.back());
      EXPECT_EQ(find("Name" + std::to_string(i + 1), comparison), nullptr);
    }
  }
  for (int i = 0; i < 300; ++i)
    EXPECT_EQ(find("nAME" + std::to_string(i)), added[static_cast<std::size_t>(i)]);
}

TEST_F(List, ComparesExactlyOrInAnyCaseAsAskedFromOneCallToTheNext) {
  for (const int count : {2, 200}) {
    for (int i = 0; i < count; ++i)
      add("filler" + std::to_string(i));
    Item* const upper = add("KEY" + std::to_string(count));
    Item* const lower = add("key" + std::to_string(count));
    EXPECT_EQ(find("key" + std::to_string(count)), upper);
    EXPECT_EQ(find("key" + std::to_string(count), kExactly), lower);
    EXPECT_EQ(find("KEY" + std::to_string(count), kExactly), upper);
    EXPECT_EQ(find("Key" + std::to_string(count)), upper);
    EXPECT_EQ(find("Key" + std::to_string(count), kExactly), nullptr);
    EXPECT_EQ(find(" KEY" + std::to_string(count), kExactly), nullptr);
  }
}

TEST_F(List, FindsTheFirstOfEqualNames) {
  Item* const first = add("same");
  for (int i = 0; i < 500; ++i) {
    EXPECT_EQ(find("SAME"), first);
    EXPECT_EQ(find("same", kExactly), first);
    add(i % 2 == 0 ? "same" : "Same");
  }
}

TEST_F(List, LearnsOfItemsThatHaveMovedOrChangedNames) {
  for (int i = 0; i < 100; ++i)
    add("name" + std::to_string(i));
  EXPECT_EQ(find("name99"), &items_[99]);
  items_[5].name = "other";
  list_.items[6] = &items_[99];
  qvini_Rearranged(&list_, 50);
  EXPECT_EQ(list_.count, 50U);
  EXPECT_EQ(find("name5"), nullptr);
  EXPECT_EQ(find("other"), &items_[5]);
  EXPECT_EQ(find("name99"), &items_[99]);
  EXPECT_EQ(find("name50"), nullptr);
  EXPECT_EQ(find("name49"), &items_[49]);
}

TEST_F(List, IsEmptyAndUsableAfterClearing) {
  for (int i = 0; i < 100; ++i)
    add("name" + std::to_string(i));
  EXPECT_NE(find("name7"), nullptr);
  qvini_ClearList(&list_);
  EXPECT_EQ(list_.count, 0U);
  EXPECT_EQ(find("name7"), nullptr);
  Item* const again = add("name7");
  EXPECT_EQ(find("name7"), again);
}

}  // namespace
