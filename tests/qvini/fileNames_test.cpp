#include "qvini/fileNames.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/doubles/TemporaryDirectory.h"

namespace {

using qv::tests::TemporaryDirectory;

std::string Take(char* text) {
  const std::string result = text;
  std::free(text);
  return result;
}

std::string Tmp(const char* path) {
  return Take(qvini_NameWithExtensionTmp(path));
}

std::string Followed(const std::string& path) {
  return Take(qvini_FollowLinks(path.c_str()));
}

TEST(NameWithExtensionTmp, ReplacesWhatFollowsTheLastPoint) {
  EXPECT_EQ(Tmp("a.ini"), "a.TMP");
  EXPECT_EQ(Tmp("/x/a.b.ini"), "/x/a.b.TMP");
  EXPECT_EQ(Tmp("a."), "a.TMP");
  EXPECT_EQ(Tmp(".ini"), ".TMP");
  EXPECT_EQ(Tmp("x/.ini"), "x/.TMP");
  EXPECT_EQ(Tmp("a..ini"), "a..TMP");
  EXPECT_EQ(Tmp("a.tmp"), "a.TMP");
}

TEST(NameWithExtensionTmp, AddsOneWhereThereIsNone) {
  EXPECT_EQ(Tmp("a"), "a.TMP");
  EXPECT_EQ(Tmp("/x.y/a"), "/x.y/a.TMP");
  EXPECT_EQ(Tmp("x.y/z/a"), "x.y/z/a.TMP");
  EXPECT_EQ(Tmp("../a"), "../a.TMP");
}

TEST(NameWithExtensionTmp, AddsOneToANameThatHasItAlready) {
  EXPECT_EQ(Tmp("a.TMP"), "a.TMP.TMP");
  EXPECT_EQ(Tmp("/x/.TMP"), "/x/.TMP.TMP");
}

TEST(UniqueNameTemplate, LiesInTheDirectoryOfTheFile) {
  EXPECT_EQ(Take(qvini_UniqueNameTemplate("a.ini")), "ini$$.TMPXXXXXX");
  EXPECT_EQ(Take(qvini_UniqueNameTemplate("/x.y/XXXXXX/a.ini")), "/x.y/XXXXXX/ini$$.TMPXXXXXX");
  EXPECT_EQ(Take(qvini_UniqueNameTemplate("/a")), "/ini$$.TMPXXXXXX");
  EXPECT_EQ(Take(qvini_UniqueNameTemplate("%s/a")), "%s/ini$$.TMPXXXXXX");
}

TEST(DirectoryOf, EndsWithTheLastSlash) {
  EXPECT_EQ(Take(qvini_DirectoryOf("/x/y/a.ini")), "/x/y/");
  EXPECT_EQ(Take(qvini_DirectoryOf("/a")), "/");
  EXPECT_EQ(Take(qvini_DirectoryOf("a.ini")), ".");
}

TEST(FollowLinks, LeavesFilesAndMissingFilesAlone) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_EQ(Followed(directory.path("file")), directory.path("file"));
  EXPECT_EQ(Followed(directory.path("missing")), directory.path("missing"));
  EXPECT_EQ(Followed(directory.path("missing/file")), directory.path("missing/file"));
  EXPECT_EQ(Followed("no/slash/first"), "no/slash/first");
}

TEST(FollowLinks, GoesThroughAbsoluteAndRelativeLinksToTheEnd) {
  const TemporaryDirectory directory;
  directory.makeDirectory("sub");
  directory.makeLink("sub/second", "first");
  directory.makeLink("../third", "sub/second");
  directory.makeLink(directory.path("missing"), "third");
  EXPECT_EQ(Followed(directory.path("third")), directory.path("missing"));
  EXPECT_EQ(Followed(directory.path("first")), directory.path("missing"));
}

TEST(FollowLinks, ReadsLinksOfAnyLength) {
  const TemporaryDirectory directory;
  for (const std::size_t length : {255U, 256U, 257U, 1000U}) {
    const std::string target(length, 'x');
    const std::string link = "link" + std::to_string(length);
    directory.makeLink(target, link);
    EXPECT_EQ(Followed(directory.path(link)), directory.path(target));
  }
}

TEST(FollowLinks, GoesAsFarAsTheSystemDoes) {
  const TemporaryDirectory directory;
  directory.write("0");
  for (int i = 1; i <= 40; ++i)
    directory.makeLink(std::to_string(i - 1), std::to_string(i));
  EXPECT_EQ(Followed(directory.path("40")), directory.path("0"));
}

TEST(FollowLinks, GivesUpWhereLinksLeadInCircles) {
  const TemporaryDirectory directory;
  directory.makeLink("b", "a");
  directory.makeLink("a", "b");
  EXPECT_EQ(Followed(directory.path("a")), directory.path("a"));
}

}  // namespace
