#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "kit/exception/InvalidArgument.h"
#include "kit/exception/NonexistentException.h"
#include "kit/osdep/path.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep::path;
using qv::tests::Exactly;
using qv::tests::TemporaryDirectory;

TEST(TempFileName, NamesAFileThatIsNotThereInTheDirectoryWithThePrefix) {
  ::unsetenv("TMPDIR");
  const TemporaryDirectory directory;
  const WString name = TempFileName(L"pre", directory.wide());
  EXPECT_EQ(Exactly(DirName(name)), Exactly(directory.wide()));
  EXPECT_EQ(Exactly(BaseName(name)).substr(0, 3), L"pre");
  EXPECT_GT(BaseName(name).length(), 3U);
  EXPECT_FALSE(DoesFileExist(name));
}

TEST(TempFileName, TakesTheTemporaryDirectoryForAnEmptyOne) {
  const TemporaryDirectory directory;
  ::setenv("TMPDIR", directory.path().c_str(), 1);
  EXPECT_EQ(Exactly(DirName(TempFileName(L"pre", WString()))), Exactly(directory.wide()));
}

TEST(TempFileName, LetsTmpdirWinOverTheDirectoryAsTempnamDoes) {
  const TemporaryDirectory directory;
  const TemporaryDirectory other;
  ::setenv("TMPDIR", other.path().c_str(), 1);
  EXPECT_EQ(Exactly(DirName(TempFileName(L"pre", directory.wide()))), Exactly(other.wide()));
}

TEST(TempFileName, RefusesAnEmptyPrefix) {
  EXPECT_THROW(TempFileName(WString(), L"/tmp"), exception::InvalidArgument);
}

TEST(TempFileName, RefusesAPrefixWithASlash) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d");
  for (const wchar_t* prefix : {L"/", L"a/b", L"/a", L"a/", L"../a"})
    EXPECT_THROW(TempFileName(prefix, directory.wide("d")), exception::InvalidArgument);
}

TEST(TempFileName, RefusesARelativeDirectory) {
  EXPECT_THROW(TempFileName(L"pre", L"."), exception::InvalidArgument);
}

TEST(TempFileName, RefusesARelativeTmpdir) {
  ::setenv("TMPDIR", "relative", 1);
  EXPECT_THROW(TempFileName(L"pre", WString()), exception::InvalidArgument);
  ::setenv("TMPDIR", "", 1);
  EXPECT_THROW(TempFileName(L"pre", WString()), exception::InvalidArgument);
}

TEST(TempFileName, ThrowsNonexistentExceptionWhereThereIsNoDirectory) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_THROW(TempFileName(L"pre", directory.wide("missing")), exception::NonexistentException);
  EXPECT_THROW(TempFileName(L"pre", directory.wide("file")), exception::NonexistentException);
}

TEST(TempFileName, RefusesNullCharactersInBothTexts) {
  EXPECT_THROW(TempFileName(WString(L"p\0q", 3), L"/tmp"), exception::InvalidArgument);
  EXPECT_THROW(TempFileName(L"pre", WString(L"/tmp\0", 5)), exception::InvalidArgument);
}

}  // namespace
