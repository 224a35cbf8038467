#include "kit/StringCompare.h"

#include <gtest/gtest.h>

#include <string>

#include "kit/exception/InvalidSequence.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;

std::int32_t CompareCase(const std::wstring& a, const std::wstring& b) {
  return StringCaseCompare(a.data(), a.data() + a.size(), b.data(), b.data() + b.size());
}

TEST(StringCaseCompare, OrdersWideTextWithoutRegardToCase) {
  EXPECT_LT(StringCaseCompare(L"abc", L"ABD"), 0);
  EXPECT_GT(StringCaseCompare(L"ABD", L"abc"), 0);
  EXPECT_EQ(StringCaseCompare(L"abc", L"ABC"), 0);
}

TEST(StringCaseCompare, AnEmptyRangeAgainstOneCharacterIsMinusOne) {
  EXPECT_EQ(CompareCase(L"", L"a"), -1);
}

}  // namespace
