#include "kit/CharactersToBytes.h"

#include <gtest/gtest.h>

namespace {

using qv::kit::CharactersToBytes;
using qv::kit::exception::OutOfRange;

TEST(CharactersToBytes, GivesTheBytesOfWideCharacters) {
  EXPECT_EQ(CharactersToBytes<wchar_t>(0), 0U);
  EXPECT_EQ(CharactersToBytes<wchar_t>(3), 12U);
  EXPECT_EQ(CharactersToBytes<wchar_t>(0x3FFFFFFF), 0xFFFFFFFCU);
}

TEST(CharactersToBytes, ThrowsFromTwoToTheThirtiethWideCharactersOn) {
  EXPECT_THROW(CharactersToBytes<wchar_t>(0x40000000), OutOfRange);
  EXPECT_THROW(CharactersToBytes<wchar_t>(0xFFFFFFFF), OutOfRange);
}

TEST(CharactersToBytes, NarrowCharactersAreBytes) {
  EXPECT_EQ(CharactersToBytes<char>(0xFFFFFFFF), 0xFFFFFFFFU);
}

}  // namespace
