#include "qvini/nameHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>

namespace {

std::uint64_t Hash(const qvini_HashKey& key, const std::string& name, bool inAnyCase = false) {
  return qvini_HashName(&key, {name.data(), name.size()}, inAnyCase ? 1 : 0);
}

constexpr qvini_HashKey kKey = {0x0706050403020100, 0x0f0e0d0c0b0a0908};

// Values of an independent implementation: Python 3.11 hashes bytes with SipHash-1-3, under the key
// of all zeros when PYTHONHASHSEED is 0.
TEST(HashName, IsSipHash13) {
  const qvini_HashKey zero = {0, 0};
  EXPECT_EQ(Hash(zero, "a"), 0x407448d2b89b1813U);
  EXPECT_EQ(Hash(zero, "name"), 0xa8ff84c12d48cfa6U);
  EXPECT_EQ(Hash(zero, "1234567"), 0xa33d651594fdae81U);
  EXPECT_EQ(Hash(zero, "12345678"), 0x3489982430560a87U);
  EXPECT_EQ(Hash(zero, "123456789"), 0xfbc0f0007965fcfU);
  EXPECT_EQ(Hash(zero, "some longer name of a key"), 0xe1dacc623ddf7324U);
  EXPECT_EQ(
      Hash(zero,
           "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11\x12\x13\x14\x15"
           "\x16\x17\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f\x20\x21\x22\x23\x24\x25\x26\x27\x28\x29\x2a"
           "\x2b\x2c\x2d\x2e\x2f\x30\x31\x32\x33\x34\x35\x36\x37\x38\x39\x3a\x3b\x3c\x3d\x3e\x3f"),
      0x6bafe9f92616651bU);
}

TEST(HashName, DependsOnEveryByteAndOnTheLength) {
  std::set<std::uint64_t> seen;
  std::string name(40, 'a');
  seen.insert(Hash(kKey, name));
  for (char& c : name) {
    c = 'b';
    EXPECT_TRUE(seen.insert(Hash(kKey, name)).second);
    c = 'a';
  }
  for (std::size_t length = 0; length < name.size(); ++length)
    EXPECT_TRUE(seen.insert(Hash(kKey, std::string(length, '\0'))).second);
}

TEST(HashName, DependsOnBothHalvesOfTheKey) {
  const qvini_HashKey first = {1, 0};
  const qvini_HashKey second = {0, 1};
  const qvini_HashKey none = {0, 0};
  EXPECT_NE(Hash(first, "name"), Hash(none, "name"));
  EXPECT_NE(Hash(second, "name"), Hash(none, "name"));
  EXPECT_NE(Hash(first, "name"), Hash(second, "name"));
}

TEST(HashName, IsTheSameInAnyCaseWhenAskedForThat) {
  EXPECT_EQ(Hash(kKey, "Some Long Name", true), Hash(kKey, "sOME lONG nAME", true));
  EXPECT_EQ(Hash(kKey, "Some Long Name", true), Hash(kKey, "some long name"));
  EXPECT_NE(Hash(kKey, "Some Long Name"), Hash(kKey, "some long name"));
  EXPECT_NE(Hash(kKey, "\xc4", true), Hash(kKey, "\xe4", true));
}

TEST(HashName, InAnyCaseIsThatOfTheNameInSmallLetters) {
  // In whole words and behind them, where there is one and where there is none, amid bytes of which
  // none may change another.
  for (const std::size_t length : {7U, 8U, 9U, 23U}) {
    for (std::size_t place = 0; place < length; ++place) {
      for (int byte = 0; byte < 256; ++byte) {
        for (const char around : {'-', '@', 'A', 'Z', '[', '\x7f', '\x80', '\xff'}) {
          std::string name(length, around);
          name[place] = static_cast<char>(byte);
          std::string small = name;
          std::transform(small.begin(), small.end(), small.begin(), qvini_LowerCase);
          ASSERT_EQ(Hash(kKey, name, true), Hash(kKey, small))
              << length << ' ' << place << ' ' << byte << ' ' << +around;
        }
      }
    }
  }
}

// What a file's author could guess would let names be chosen that all have one place in an index.
TEST(NewHashKey, HasNoBitThatCanBeForetold) {
  std::uint64_t ones[2] = {0, 0};
  std::uint64_t zeros[2] = {0, 0};
  for (int i = 0; i < 100; ++i) {
    const qvini_HashKey key = qvini_NewHashKey();
    ones[0] |= key.first;
    ones[1] |= key.second;
    zeros[0] |= ~key.first;
    zeros[1] |= ~key.second;
  }
  for (const std::uint64_t seen : {ones[0], ones[1], zeros[0], zeros[1]})
    EXPECT_EQ(seen, ~std::uint64_t{0});
}

TEST(NewHashKey, IsAnotherOneEachTime) {
  std::set<std::pair<std::uint64_t, std::uint64_t>> seen;
  for (int i = 0; i < 100; ++i) {
    const qvini_HashKey key = qvini_NewHashKey();
    EXPECT_TRUE(seen.insert({key.first, key.second}).second);
  }
}

}  // namespace
