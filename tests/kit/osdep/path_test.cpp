#include "kit/osdep/path.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "kit/exception/InvalidArgument.h"
#include "tests/doubles/Text.h"
#include "tests/reference/NormalizePathReference.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep::path;
using qv::tests::Exactly;

using Rows = std::vector<std::pair<const wchar_t*, const wchar_t*>>;

TEST(DirName, LeavesAPathOfNothingButSlashesAlone) {
  for (const wchar_t* path : {L"", L"/", L"//", L"///"}) {
    EXPECT_EQ(Exactly(DirName(path)), path);
  }
}

TEST(DirName, OnlyTakesTheTrailingSlashesOffAPathThatEndsInOne) {
  const Rows rows = {
      {L"a/b/", L"a/b"}, {L"a/b///", L"a/b"}, {L"a/", L"a"}, {L"/a/", L"/a"}, {L"//a//", L"//a"}};
  for (const auto& [path, expected] : rows) {
    EXPECT_EQ(Exactly(DirName(path)), expected) << path;
  }
}

TEST(DirName, RemovesTheLastComponentWithTheSlashesBeforeIt) {
  const Rows rows = {{L"a/b", L"a"},     {L"a//b", L"a"},       {L"/a/b", L"/a"},
                     {L"/a///b", L"/a"}, {L"a//b//c", L"a//b"}, {L"/a/b/c", L"/a/b"},
                     {L"//a/b", L"//a"}, {L"a/.", L"a"},        {L"a/..", L"a"}};
  for (const auto& [path, expected] : rows) {
    EXPECT_EQ(Exactly(DirName(path)), expected) << path;
  }
}

TEST(DirName, GivesTheLeadingSlashesOfAPathWithASingleComponent) {
  const Rows rows = {{L"foo", L""}, {L"/foo", L"/"}, {L"//foo", L"//"}};
  for (const auto& [path, expected] : rows) {
    EXPECT_EQ(Exactly(DirName(path)), expected) << path;
  }
}

TEST(DirName, TakesANullCharacterForAnyOther) {
  const WString path(L"/a\0b/c", 6);
  EXPECT_EQ(Exactly(DirName(path)), std::wstring(L"/a\0b", 4));
}

TEST(BaseName, IsWhatFollowsTheLastSlash) {
  const Rows rows = {{L"a/b", L"b"}, {L"/a", L"a"}, {L"a//B", L"B"}, {L"foo", L"foo"}, {L"", L""}};
  for (const auto& [path, expected] : rows) {
    EXPECT_EQ(Exactly(BaseName(path)), expected) << path;
  }
}

TEST(BaseName, IsEmptyWhenThePathEndsInASlash) {
  for (const wchar_t* path : {L"a/b/", L"/", L"a//"}) {
    EXPECT_EQ(Exactly(BaseName(path)), L"");
  }
}

TEST(Join, GivesTheSecondPathWhenItIsAbsolute) {
  EXPECT_EQ(Exactly(Join(WString(L"/x"), WString(L"/y"))), L"/y");
  EXPECT_EQ(Exactly(Join(String("/x"), String("/y"))), "/y");
}

TEST(Join, GivesTheSecondPathWhenTheFirstIsEmpty) {
  EXPECT_EQ(Exactly(Join(WString(), WString(L"y"))), L"y");
  EXPECT_EQ(Exactly(Join(String(), String("y"))), "y");
  EXPECT_EQ(Exactly(Join(WString(), WString())), L"");
}

TEST(Join, AddsNoSlashToOneThatIsThere) {
  EXPECT_EQ(Exactly(Join(WString(L"x/"), WString(L"y"))), L"x/y");
  EXPECT_EQ(Exactly(Join(String("x/"), String("y"))), "x/y");
  EXPECT_EQ(Exactly(Join(WString(L"/"), WString(L"y"))), L"/y");
}

TEST(Join, PutsASlashBetween) {
  EXPECT_EQ(Exactly(Join(WString(L"x"), WString(L"y/Z"))), L"x/y/Z");
  EXPECT_EQ(Exactly(Join(String("x"), String("y/Z"))), "x/y/Z");
}

TEST(Join, PutsASlashEvenBeforeNothing) {
  EXPECT_EQ(Exactly(Join(WString(L"x"), WString())), L"x/");
  EXPECT_EQ(Exactly(Join(String("x"), String())), "x/");
}

TEST(MakePathEndInSlash, AppendsASlashOnlyWhereThereIsNone) {
  WString without(L"/a");
  MakePathEndInSlash(without);
  EXPECT_EQ(Exactly(without), L"/a/");
  MakePathEndInSlash(without);
  EXPECT_EQ(Exactly(without), L"/a/");
}

TEST(MakePathEndInSlash, RefusesAnEmptyPath) {
  WString empty;
  EXPECT_THROW(MakePathEndInSlash(empty), exception::InvalidArgument);
  EXPECT_TRUE(empty.empty());
}

TEST(IsPathAbsolute, LooksAtTheFirstCharacterAlone) {
  EXPECT_TRUE(IsPathAbsolute(L"/"));
  EXPECT_TRUE(IsPathAbsolute(L"/a/../.."));
  EXPECT_FALSE(IsPathAbsolute(L""));
  EXPECT_FALSE(IsPathAbsolute(L"a/b"));
  EXPECT_FALSE(IsPathAbsolute(L" /a"));
  EXPECT_FALSE(IsPathAbsolute(L"~/a"));
}

TEST(IsPathAbsolute, IsFalseForNull) {
  EXPECT_FALSE(IsPathAbsolute(nullptr));
}

TEST(IsAbs, LooksAtTheFirstCharacterAlone) {
  EXPECT_TRUE(IsAbs(L"/a"));
  EXPECT_FALSE(IsAbs(L"a"));
  EXPECT_FALSE(IsAbs(WString()));
}

TEST(NormalizePath, IsEmptyForARelativePath) {
  for (const wchar_t* path : {L"", L"a/./b", L"a", L".", L"./a"}) {
    EXPECT_EQ(Exactly(NormalizePath(path)), L"");
  }
}

TEST(NormalizePath, LeavesAPathWithoutAnyDotAlone) {
  for (const wchar_t* path : {L"/", L"//x//y", L"/a/b/", L"/a///"}) {
    EXPECT_EQ(Exactly(NormalizePath(path)), path);
  }
}

TEST(NormalizePath, DropsDotsAndWhatDoubleDotsLeave) {
  const Rows rows = {{L"/a/./b", L"/a/b"},     {L"/a/b/../", L"/a/"},    {L"/a/b/..", L"/a"},
                     {L"/a/b/../../c", L"/c"}, {L"/a/..", L"/"},         {L"/.", L"/"},
                     {L"/./", L"/"},           {L"/a/b/../c/..", L"/a"}, {L"/a/../", L"/"}};
  for (const auto& [path, expected] : rows) {
    EXPECT_EQ(Exactly(NormalizePath(path)), expected) << path;
  }
}

TEST(NormalizePath, KeepsDotsThatArePartOfAName) {
  for (const wchar_t* path : {L"/a.b", L"/.a", L"/a.", L"/..a/", L"/....", L"/a..b/c"}) {
    EXPECT_EQ(Exactly(NormalizePath(path)), path);
  }
}

TEST(NormalizePath, IsEmptyForAPathThatClimbsAboveTheRoot) {
  for (const wchar_t* path : {L"/..", L"/a/../..", L"/../a", L"/a/../../b", L"/.././.."}) {
    EXPECT_EQ(Exactly(NormalizePath(path)), L"") << path;
  }
}

TEST(NormalizePath, IsEmptyForAPathWithThreeDotsAnywhere) {
  for (const wchar_t* path : {L"/a/.../b", L"/...", L"/.../..", L"/a/.../"}) {
    EXPECT_EQ(Exactly(NormalizePath(path)), L"") << path;
  }
}

TEST(NormalizePath, TakesTheNothingBetweenTwoSlashesForAComponent) {
  EXPECT_EQ(Exactly(NormalizePath(L"/a//../b")), L"/a/b");
  EXPECT_EQ(Exactly(NormalizePath(L"/a//./b")), L"/a//b");
  EXPECT_EQ(Exactly(NormalizePath(L"//..")), L"/");
}

TEST(NormalizePath, AgreesWithASlowReferenceOnEveryShortPath) {
  const std::wstring alphabet = L"/.a";
  std::vector<std::wstring> paths = {L""};
  for (std::size_t index = 0; index < paths.size(); ++index) {
    const std::wstring path = paths[index];
    const WString normalized = NormalizePath(WString(path.c_str()));
    ASSERT_EQ(Exactly(normalized), qv::tests::NormalizePathReference(path)) << path;
    if (path.length() == 9) continue;
    for (const wchar_t character : alphabet)
      paths.push_back(path + character);
  }
}

}  // namespace
