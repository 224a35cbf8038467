#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <string>

#include "kit/exception/InvalidArgument.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/path.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/kit/osdep/WithNull.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using namespace qv::kit::osdep::path;
using qv::tests::TemporaryDirectory;
using qv::tests::WithNull;

TEST(IsDirectory, IsTrueForADirectoryHoweverItIsReached) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d");
  directory.makeLink("d", "link");
  EXPECT_TRUE(IsDirectory(directory.wide("d")));
  EXPECT_TRUE(IsDirectory(directory.wide("d/")));
  EXPECT_TRUE(IsDirectory(directory.wide("link")));
  EXPECT_TRUE(IsDirectory(L"/"));
}

TEST(IsDirectory, IsFalseForAnythingElse) {
  const TemporaryDirectory directory;
  directory.write("file");
  directory.makeLink("missing", "dangling");
  EXPECT_FALSE(IsDirectory(directory.wide("file")));
  EXPECT_FALSE(IsDirectory(directory.wide("file/")));
  EXPECT_FALSE(IsDirectory(directory.wide("missing")));
  EXPECT_FALSE(IsDirectory(directory.wide("dangling")));
}

TEST(IsDirectory, IsFalseForARelativePathThatLeadsToOne) {
  EXPECT_FALSE(IsDirectory(L"."));
  EXPECT_FALSE(IsDirectory(WString()));
}

TEST(IsDirectory, IsFalseForANameWithANullCharacterBehindADirectory) {
  const TemporaryDirectory directory;
  EXPECT_FALSE(IsDirectory(WithNull(directory.wide())));
}

TEST(IsSymLink, IsTrueForALinkWhereverItLeads) {
  const TemporaryDirectory directory;
  directory.makeLink("missing", "dangling");
  directory.makeLink(".", "self");
  EXPECT_TRUE(IsSymLink(directory.wide("dangling")));
  EXPECT_TRUE(IsSymLink(directory.wide("self")));
}

TEST(IsSymLink, IsFalseForAnythingElse) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_FALSE(IsSymLink(directory.wide("file")));
  EXPECT_FALSE(IsSymLink(directory.wide()));
  EXPECT_FALSE(IsSymLink(directory.wide("missing")));
}

TEST(IsSymLink, IsFalseForANameWithANullCharacterBehindALink) {
  const TemporaryDirectory directory;
  directory.makeLink("missing", "dangling");
  EXPECT_FALSE(IsSymLink(WithNull(directory.wide("dangling"))));
}

TEST(DoesFileExist, IsTrueForARegularFileHoweverItIsReached) {
  const TemporaryDirectory directory;
  directory.write("file");
  directory.makeLink("file", "link");
  EXPECT_TRUE(DoesFileExist(directory.wide("file")));
  EXPECT_TRUE(DoesFileExist(directory.wide("link")));
}

TEST(DoesFileExist, IsFalseForADirectoryAndForAnythingElseThatIsNoRegularFile) {
  const TemporaryDirectory directory;
  ASSERT_EQ(::mkfifo(directory.path("fifo").c_str(), 0600), 0);
  EXPECT_FALSE(DoesFileExist(directory.wide()));
  EXPECT_FALSE(DoesFileExist(directory.wide("fifo")));
}

TEST(DoesFileExist, IsFalseWhereNothingHasTheName) {
  const TemporaryDirectory directory;
  directory.makeLink("missing", "dangling");
  EXPECT_FALSE(DoesFileExist(directory.wide("missing")));
  EXPECT_FALSE(DoesFileExist(directory.wide("missing/file")));
  EXPECT_FALSE(DoesFileExist(directory.wide("dangling")));
}

TEST(DoesFileExist, ThrowsWhereAFileStandsForADirectory) {
  const TemporaryDirectory directory;
  directory.write("file");
  try {
    DoesFileExist(directory.wide("file/below"));
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(ENOTDIR));
  }
}

TEST(DoesFileExist, RefusesARelativePath) {
  EXPECT_THROW(DoesFileExist(L"file"), exception::InvalidArgument);
  EXPECT_THROW(DoesFileExist(WString()), exception::InvalidArgument);
}

TEST(DoesFileExist, RefusesANameWithANullCharacter) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_THROW(DoesFileExist(WithNull(directory.wide("file"))), exception::InvalidArgument);
}

TEST(PathQuestions, AreAnsweredForEntriesOf2038AndLater) {
  const TemporaryDirectory directory;
  directory.write("file");
  directory.makeDirectory("d");
  directory.makeLink("d", "link");
  const timespec times[] = {{4102444800, 0}, {4102444800, 0}};
  for (const char* const name : {"file", "d", "link"}) {
    ASSERT_EQ(::utimensat(AT_FDCWD, directory.path(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  }
  EXPECT_TRUE(DoesFileExist(directory.wide("file")));
  EXPECT_TRUE(IsDirectory(directory.wide("d")));
  EXPECT_TRUE(IsSymLink(directory.wide("link")));
}

TEST(PathQuestions, AreAnsweredForAFileOf4GiBAndMore) {
  const TemporaryDirectory directory;
  directory.write("file");
  ASSERT_EQ(::truncate(directory.path("file").c_str(), 0x100000001), 0);
  EXPECT_TRUE(DoesFileExist(directory.wide("file")));
}

TEST(IsFileSystemCaseSensitive, IsNo) {
  EXPECT_FALSE(IsFileSystemCaseSensitive());
}

}  // namespace
