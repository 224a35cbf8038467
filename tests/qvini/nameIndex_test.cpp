#include "qvini/nameIndex.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

struct Item {
  const char* name;
};

using Index = std::unique_ptr<qvini_NameIndex, decltype(&qvini_DisposeNameIndex)>;

Index NewIndex(bool inAnyCase) {
  const qvini_HashKey key = qvini_NewHashKey();
  return {qvini_NewNameIndex(&key, inAnyCase ? 1 : 0), &qvini_DisposeNameIndex};
}

// What a search from the front finds.
void* FirstOf(const std::vector<void*>& list, std::size_t count, const std::string& name) {
  for (std::size_t i = 0; i < count; ++i) {
    if (static_cast<Item*>(list[i])->name == name) return list[i];
  }
  return nullptr;
}

TEST(NameIndex, AgreesWithASearchFromTheFrontOnNamesWithManyRepetitions) {
  std::mt19937 random(20260101);
  std::vector<std::string> names;
  std::vector<Item> items;
  for (int i = 0; i < 3000; ++i)
    names.push_back("k" + std::to_string(random() % 900));
  for (const std::string& name : names)
    items.push_back({name.c_str()});
  std::vector<void*> list;
  for (Item& item : items)
    list.push_back(&item);

  const Index index = NewIndex(false);
  for (std::size_t count = 0; count <= list.size(); count += random() % 5) {
    const std::string name = "k" + std::to_string(random() % 1000);
    void* found = nullptr;
    ASSERT_EQ(qvini_IndexFind(index.get(), list.data(), count, {name.data(), name.size()}, &found),
              1);
    EXPECT_EQ(found, FirstOf(list, count, name)) << name << " of " << count;
  }
}

TEST(NameIndex, FindsNamesOfAnyLengthThatItMissedBefore) {
  std::vector<std::string> names;
  for (std::size_t length = 1; length <= 70; ++length)
    names.emplace_back(length, 'n');
  std::vector<Item> items;
  for (const std::string& name : names)
    items.push_back({name.c_str()});
  std::vector<void*> list;
  for (Item& item : items)
    list.push_back(&item);

  const Index index = NewIndex(true);
  void* found = nullptr;
  for (std::size_t count = 0; count < list.size(); ++count) {
    const std::string& next = names[count];
    ASSERT_EQ(qvini_IndexFind(index.get(), list.data(), count, {next.data(), next.size()}, &found),
              1);
    EXPECT_EQ(found, nullptr) << next;
    ASSERT_EQ(
        qvini_IndexFind(index.get(), list.data(), count + 1, {next.data(), next.size()}, &found),
        1);
    EXPECT_EQ(found, list[count]) << next;
  }
}

TEST(NameIndex, AllowsNullToBeDisposedOf) {
  qvini_DisposeNameIndex(nullptr);
}

TEST(HasName, ComparesWholeNames) {
  const Item item = {"Name"};
  EXPECT_TRUE(qvini_HasName(&item, qvini_Whole("Name"), 0));
  EXPECT_FALSE(qvini_HasName(&item, qvini_Whole("name"), 0));
  EXPECT_TRUE(qvini_HasName(&item, qvini_Whole("name"), 1));
  EXPECT_FALSE(qvini_HasName(&item, qvini_Whole("names"), 1));
}

}  // namespace
