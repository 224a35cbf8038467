#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "qvini/qvini.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TestDocument;

std::size_t SizeAfter(IniStringCache& cache, std::size_t size) {
  EXPECT_EQ(SetStringCacheSize(&cache, size), kIniDone);
  std::memset(cache.bytes, 'x', cache.size);
  return cache.size;
}

TEST(StringCache, HasTwoHundredAndFiftySixBytesAtFirst) {
  const TestDocument document;
  EXPECT_EQ(document->stringCache.size, 256U);
}

TEST(SetStringCacheSize, KeepsACacheUpToOneKibibyteLongerThanWanted) {
  const TestDocument document;
  IniStringCache& cache = document->stringCache;
  EXPECT_EQ(SizeAfter(cache, 2000), 2000U);
  EXPECT_EQ(SizeAfter(cache, 2000), 2000U);
  EXPECT_EQ(SizeAfter(cache, 1999), 2000U);
  EXPECT_EQ(SizeAfter(cache, 976), 2000U);
  EXPECT_EQ(SizeAfter(cache, 975), 975U);
  EXPECT_EQ(SizeAfter(cache, 976), 976U);
}

TEST(SetStringCacheSize, NeverGoesBelowTwoHundredAndFiftySixBytes) {
  const TestDocument document;
  IniStringCache& cache = document->stringCache;
  EXPECT_EQ(SizeAfter(cache, 0), 256U);
  EXPECT_EQ(SizeAfter(cache, 255), 256U);
  EXPECT_EQ(SizeAfter(cache, 257), 257U);
  EXPECT_EQ(SizeAfter(cache, 2000), 2000U);
  EXPECT_EQ(SizeAfter(cache, 10), 256U);
}

TEST(SetStringCacheSize, GoesByTheSizeWantedAndNotByTheSmallestOne) {
  const TestDocument document;
  IniStringCache& cache = document->stringCache;
  EXPECT_EQ(SizeAfter(cache, 1100), 1100U);
  EXPECT_EQ(SizeAfter(cache, 76), 1100U);
  EXPECT_EQ(SizeAfter(cache, 75), 256U);
}

TEST(SetStringCacheSize, MakesACacheWhereThereIsNone) {
  IniStringCache cache = {nullptr, 0};
  EXPECT_EQ(SizeAfter(cache, 0), 256U);
  std::free(cache.bytes);
}

TEST(SetStringCacheSize, RefusesNull) {
  EXPECT_EQ(SetStringCacheSize(nullptr, 1), -22);
}

TEST(StringGetters, KeepACacheThatIsOneKibibyteLongerThanTheSmallest) {
  const TestDocument document;
  IniPut(document, "s", "short", "b", 0);
  const char* value = nullptr;
  for (const std::size_t size : {1200U, 1280U}) {
    ASSERT_EQ(SetStringCacheSize(&document->stringCache, size), 0);
    EXPECT_EQ(IniGetPointerToRawString(document, "s", "short", &value), 1);
    EXPECT_EQ(document->stringCache.size, size);
  }
}

TEST(StringGetters, AskForTheLengthAndItsNulButAtLeastTwoHundredAndFiftySixBytes) {
  const TestDocument document;
  IniPut(document, "s", "long", std::string(3000, 'a').c_str(), 0);
  IniPut(document, "s", "short", "b", 0);
  IniPut(document, "s", "middle", std::string(1976, 'c').c_str(), 0);
  const char* value = nullptr;
  EXPECT_EQ(IniGetPointerToRawString(document, "s", "long", &value), 1);
  EXPECT_EQ(document->stringCache.size, 3001U);
  EXPECT_EQ(IniGetPointerToRawString(document, "s", "middle", &value), 1);
  EXPECT_EQ(document->stringCache.size, 3001U);
  EXPECT_EQ(IniGetPointerToRawString(document, "s", "short", &value), 1);
  EXPECT_EQ(document->stringCache.size, 256U);
  EXPECT_STREQ(value, "b");
  EXPECT_EQ(value, document->stringCache.bytes);
}

}  // namespace
