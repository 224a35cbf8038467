#include "qvini/nameIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
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

// The place that a search from the front finds.
std::size_t Place(const std::vector<std::string>& names, std::size_t count,
                  const std::string& name) {
  const auto end = names.begin() + static_cast<std::ptrdiff_t>(count);
  return static_cast<std::size_t>(std::find(names.begin(), end, name) - names.begin());
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
    std::size_t place = 0;
    ASSERT_EQ(qvini_IndexFind(index.get(), list.data(), count, {name.data(), name.size()}, &place),
              1);
    EXPECT_EQ(place, Place(names, count, name)) << name << " of " << count;
  }
}

TEST(NameIndex, AllowsNullToBeDisposedOf) {
  qvini_DisposeNameIndex(nullptr);
}

TEST(IsName, ComparesWholeNames) {
  EXPECT_TRUE(qvini_IsName("Name", qvini_Whole("Name"), 0));
  EXPECT_FALSE(qvini_IsName("Name", qvini_Whole("name"), 0));
  EXPECT_TRUE(qvini_IsName("Name", qvini_Whole("name"), 1));
  EXPECT_FALSE(qvini_IsName("Name", qvini_Whole("names"), 1));
}

}  // namespace
