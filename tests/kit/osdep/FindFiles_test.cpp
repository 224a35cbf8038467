#include "kit/osdep/FindFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "kit/exception/InvalidArgument.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using namespace qv::kit;
using qv::kit::osdep::FindFiles;
using qv::tests::Exactly;
using qv::tests::TemporaryDirectory;

using Names = std::vector<std::wstring>;

/// The found names, without the directory when they lie in it.
Names Below(const TemporaryDirectory& directory, const Vector<WString>& found) {
  const std::wstring prefix = Exactly(directory.wide(""));
  Names names;
  for (const WString& name : found) {
    const std::wstring text = Exactly(name);
    names.push_back(text.compare(0, prefix.length(), prefix) == 0 ? text.substr(prefix.length())
                                                                  : text);
  }
  return names;
}

TEST(GetFilenames, GivesTheNamesThatMatchInOrder) {
  const TemporaryDirectory directory;
  for (const char* name : {"b.txt", "a.txt", "c.dat", "ab.txt"})
    directory.write(name);
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide("*.txt"))),
            (Names{L"a.txt", L"ab.txt", L"b.txt"}));
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide("?.*"))),
            (Names{L"a.txt", L"b.txt", L"c.dat"}));
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide("[bc].*"))),
            (Names{L"b.txt", L"c.dat"}));
}

TEST(GetFilenames, GivesAnEmptyVectorWhenNothingMatches) {
  const TemporaryDirectory directory;
  EXPECT_EQ(FindFiles::getFilenames(directory.wide("*")).size(), 0U);
  EXPECT_EQ(FindFiles::getFilenames(directory.wide("missing/*")).size(), 0U);
  EXPECT_EQ(FindFiles::getFilenames(directory.wide("missing")).size(), 0U);
  EXPECT_EQ(FindFiles::getFilenames(WString()).size(), 0U);
}

TEST(GetFilenames, FindsAFileByItsPlainName) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide("file"))), (Names{L"file"}));
}

TEST(GetFilenames, LeavesOutNamesThatBeginWithADot) {
  const TemporaryDirectory directory;
  directory.write(".hidden");
  directory.write("seen");
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide("*"))), (Names{L"seen"}));
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide(".h*"))), (Names{L".hidden"}));
}

TEST(GetFilenames, ShowsDirectoriesAndLinksThatLeadNowhere) {
  const TemporaryDirectory directory;
  directory.makeDirectory("directory/below");
  directory.makeLink("missing", "dangling");
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide("*"))),
            (Names{L"dangling", L"directory"}));
}

TEST(GetFilenames, SearchesInEveryDirectoryThatMatches) {
  const TemporaryDirectory directory;
  for (const char* name : {"d1/", "d2/", "e/"})
    directory.makeDirectory(name);
  for (const char* name : {"d1/x", "d2/x", "e/x"})
    directory.write(name);
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(directory.wide("d?/x"))),
            (Names{L"d1/x", L"d2/x"}));
}

TEST(GetFilenames, TakesARelativePattern) {
  const TemporaryDirectory directory;
  directory.write("file");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  EXPECT_EQ(Below(directory, FindFiles::getFilenames(L"f*")), (Names{L"file"}));
  std::filesystem::current_path(before);
}

TEST(GetFilenames, RefusesAPatternWithANullCharacter) {
  EXPECT_THROW(FindFiles::getFilenames(WString(L"/\0*", 3)), exception::InvalidArgument);
}

TEST(GetFilenames, FindsMoreFilesThanTheCLibraryReadsAtOnce) {
  const TemporaryDirectory directory;
  for (int number = 0; number < 1500; ++number)
    directory.write("file" + std::to_string(number));
  EXPECT_EQ(FindFiles::getFilenames(directory.wide("file*")).size(), 1500U);
}

TEST(GetEntries, ListsWhatTheStarPatternMatches) {
  const TemporaryDirectory directory;
  directory.write("b");
  directory.write("a");
  directory.write(".hidden");
  directory.makeLink("missing", "dangling");
  EXPECT_EQ(Below(directory, FindFiles::getEntries(directory.wide())),
            (Names{L"a", L"b", L"dangling"}));
  EXPECT_EQ(Below(directory, FindFiles::getEntries(directory.wide(""))),
            (Names{L"a", L"b", L"dangling"}));
}

TEST(GetEntries, TakesEveryCharacterOfTheDirectoryForItself) {
  for (const std::string name : {"a[b]", "*", "?", "\\", "a\\*b", "[!z]", "{ab,c}", "~"}) {
    const TemporaryDirectory directory;
    for (const std::string other : {"ab", "x", "c"}) {
      directory.makeDirectory(other);
      directory.write(other + "/other");
    }
    directory.makeDirectory(name);
    directory.write(name + "/own");
    const std::wstring expected = Exactly(WString((name + "/own").c_str()));
    EXPECT_EQ(Below(directory, FindFiles::getEntries(directory.wide(name))), Names{expected});
  }
}

TEST(GetEntries, IsNoPatternForACharacterThatTheLocaleLacks) {
  const TemporaryDirectory directory;
  directory.makeDirectory("x");
  directory.write("x/file");
  WString path = directory.wide("");
  path += static_cast<wchar_t>(0x20AC);
  EXPECT_EQ(FindFiles::getEntries(path).size(), 0U);
}

TEST(GetEntries, IsEmptyForAnythingButADirectory) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_EQ(FindFiles::getEntries(directory.wide("file")).size(), 0U);
  EXPECT_EQ(FindFiles::getEntries(directory.wide("missing")).size(), 0U);
}

TEST(GetEntries, RefusesANameWithANullCharacter) {
  EXPECT_THROW(FindFiles::getEntries(WString(L"/\0", 2)), exception::InvalidArgument);
}

}  // namespace
