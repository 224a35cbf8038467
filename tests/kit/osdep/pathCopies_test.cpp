#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "kit/exception/FileAlreadyExists.h"
#include "kit/exception/FileReadFailed.h"
#include "kit/exception/FileWriteFailed.h"
#include "kit/exception/InvalidArgument.h"
#include "kit/exception/NonexistentException.h"
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

/// The code of the PosixError that action throws; 0 when it throws none.
template <typename ActionT>
std::uint32_t PosixCodeOf(ActionT action) {
  try {
    action();
  } catch (const PosixError& error) {
    return error.whatcode();
  }
  return 0;
}

TEST(RenameFile, GivesTheFileItsNewName) {
  const TemporaryDirectory directory;
  directory.write("a", "contents");
  RenameFile(directory.wide("a"), directory.wide("b"));
  EXPECT_FALSE(directory.has("a"));
  EXPECT_EQ(directory.read("b"), "contents");
}

TEST(RenameFile, ReplacesAFileInTheWay) {
  const TemporaryDirectory directory;
  directory.write("a", "new");
  directory.write("b", "old");
  RenameFile(directory.wide("a"), directory.wide("b"));
  EXPECT_FALSE(directory.has("a"));
  EXPECT_EQ(directory.read("b"), "new");
}

TEST(RenameFile, RenamesADirectoryToo) {
  const TemporaryDirectory directory;
  directory.makeDirectory("a/below");
  RenameFile(directory.wide("a"), directory.wide("b"));
  EXPECT_TRUE(directory.has("b/below"));
}

TEST(RenameFile, DoesNothingForEqualNamesEvenOfAFileThatIsNotThere) {
  const TemporaryDirectory directory;
  EXPECT_NO_THROW(RenameFile(directory.wide("a"), directory.wide("a")));
}

TEST(RenameFile, TakesNamesThatDifferInCaseAloneForEqual) {
  const TemporaryDirectory directory;
  directory.write("name", "contents");
  RenameFile(directory.wide("name"), directory.wide("NAME"));
  EXPECT_EQ(directory.read("name"), "contents");
  EXPECT_FALSE(directory.has("NAME"));
}

TEST(RenameFile, ThrowsPosixErrorWhenThereIsNoSuchFile) {
  const TemporaryDirectory directory;
  EXPECT_EQ(PosixCodeOf([&] { RenameFile(directory.wide("a"), directory.wide("b")); }),
            static_cast<std::uint32_t>(ENOENT));
}

TEST(RenameFile, ThrowsPosixErrorWhereADirectoryIsInTheWay) {
  const TemporaryDirectory directory;
  directory.write("a", "kept");
  directory.makeDirectory("b");
  EXPECT_EQ(PosixCodeOf([&] { RenameFile(directory.wide("a"), directory.wide("b")); }),
            static_cast<std::uint32_t>(EISDIR));
  EXPECT_EQ(directory.read("a"), "kept");
}

TEST(RenameFile, RefusesRelativePaths) {
  EXPECT_THROW(RenameFile(L"a", L"/b"), exception::InvalidArgument);
  EXPECT_THROW(RenameFile(L"/a", L"b"), exception::InvalidArgument);
  EXPECT_THROW(RenameFile(L"a", L"a"), exception::InvalidArgument);
}

TEST(RenameFile, RefusesNamesWithANullCharacterAndChangesNothing) {
  const TemporaryDirectory directory;
  directory.write("a");
  EXPECT_THROW(RenameFile(WithNull(directory.wide("a")), directory.wide("b")),
               exception::InvalidArgument);
  EXPECT_THROW(RenameFile(directory.wide("a"), WithNull(directory.wide("b"))),
               exception::InvalidArgument);
  EXPECT_TRUE(directory.has("a"));
  EXPECT_FALSE(directory.has("b"));
}

TEST(CpFile, CopiesFilesOfAnyLength) {
  const TemporaryDirectory directory;
  for (const std::size_t length : {0U, 1U, 4095U, 4096U, 4097U, 8192U, 100000U}) {
    std::string contents;
    for (std::size_t index = 0; index < length; ++index)
      contents += static_cast<char>(index * 31 % 251);
    directory.write("from", contents);
    CpFile(directory.wide("from"), directory.wide("to"), true);
    EXPECT_EQ(directory.read("to"), contents) << length;
    EXPECT_EQ(directory.read("from"), contents) << length;
  }
}

TEST(CpFile, ReplacesALongerFile) {
  const TemporaryDirectory directory;
  directory.write("from", "short");
  directory.write("to", "something longer");
  CpFile(directory.wide("from"), directory.wide("to"), true);
  EXPECT_EQ(directory.read("to"), "short");
}

TEST(CpFile, ThrowsFileAlreadyExistsUnlessItMayOverwrite) {
  const TemporaryDirectory directory;
  directory.write("from", "new");
  directory.write("to", "old");
  EXPECT_THROW(CpFile(directory.wide("from"), directory.wide("to"), false),
               exception::FileAlreadyExists);
  EXPECT_EQ(directory.read("to"), "old");
}

TEST(CpFile, CreatesAFileWithoutLeaveToOverwrite) {
  const TemporaryDirectory directory;
  directory.write("from", "new");
  CpFile(directory.wide("from"), directory.wide("to"), false);
  EXPECT_EQ(directory.read("to"), "new");
}

TEST(CpFile, CreatesTheFileForItsOwnerAloneUnderAnyUmask) {
  const TemporaryDirectory directory;
  directory.write("from");
  const mode_t before = ::umask(0);
  CpFile(directory.wide("from"), directory.wide("to"), false);
  ::umask(before);
  EXPECT_EQ(directory.permissions("to"), 0600U);
}

TEST(CpFile, AsksForLeaveToOverwriteBeforeItLooksForEqualNames) {
  const TemporaryDirectory directory;
  directory.write("a", "kept");
  EXPECT_THROW(CpFile(directory.wide("a"), directory.wide("a"), false),
               exception::FileAlreadyExists);
  EXPECT_NO_THROW(CpFile(directory.wide("a"), directory.wide("a"), true));
  EXPECT_EQ(directory.read("a"), "kept");
}

TEST(CpFile, DoesNothingForEqualNamesEvenOfAFileThatIsNotThere) {
  const TemporaryDirectory directory;
  EXPECT_NO_THROW(CpFile(directory.wide("a"), directory.wide("a"), false));
  EXPECT_FALSE(directory.has("a"));
}

TEST(CpFile, TakesNamesThatDifferInCaseAloneForEqual) {
  const TemporaryDirectory directory;
  directory.write("name", "lower");
  directory.write("NAME", "upper");
  CpFile(directory.wide("name"), directory.wide("NAME"), true);
  EXPECT_EQ(directory.read("name"), "lower");
  EXPECT_EQ(directory.read("NAME"), "upper");
}

TEST(CpFile, LeavesAFileWholeThatIsCopiedOntoItselfThroughAnotherName) {
  const TemporaryDirectory directory;
  directory.write("file", "kept");
  std::filesystem::create_hard_link(directory.path("file"), directory.path("hard"));
  directory.makeLink("file", "soft");
  directory.makeLink(".", "here");
  for (const char* other : {"hard", "soft", "here/file", "./file"}) {
    CpFile(directory.wide("file"), directory.wide(other), true);
    CpFile(directory.wide(other), directory.wide("file"), true);
    EXPECT_EQ(directory.read("file"), "kept") << other;
  }
}

TEST(CpFile, WritesThroughASymbolicLink) {
  const TemporaryDirectory directory;
  directory.write("from", "new");
  directory.write("real", "old");
  directory.makeLink("real", "to");
  CpFile(directory.wide("from"), directory.wide("to"), true);
  EXPECT_EQ(directory.read("real"), "new");
  EXPECT_TRUE(IsSymLink(directory.wide("to")));
}

TEST(CpFile, CreatesTheFileThatALinkLeadsTo) {
  for (const bool overwrite : {false, true}) {
    const TemporaryDirectory directory;
    directory.write("from", "new");
    directory.makeDirectory("d");
    directory.makeLink("d/second", "to");
    directory.makeLink("../real", "d/second");
    directory.makeLink(directory.path("absolute"), "other");
    CpFile(directory.wide("from"), directory.wide("to"), overwrite);
    CpFile(directory.wide("from"), directory.wide("other"), overwrite);
    EXPECT_EQ(directory.read("real"), "new");
    EXPECT_EQ(directory.read("absolute"), "new");
    EXPECT_TRUE(IsSymLink(directory.wide("to")));
    EXPECT_TRUE(IsSymLink(directory.wide("d/second")));
  }
}

TEST(CpFile, ThrowsPosixErrorForALinkThatLeadsToItself) {
  const TemporaryDirectory directory;
  directory.write("from", "new");
  directory.makeLink("to", "to");
  for (const bool overwrite : {false, true}) {
    EXPECT_EQ(PosixCodeOf([&] { CpFile(directory.wide("from"), directory.wide("to"), overwrite); }),
              static_cast<std::uint32_t>(ELOOP));
  }
}

TEST(CpFile, NeedsNoLeaveToWriteToWhatIsNoRegularFile) {
  const TemporaryDirectory directory;
  directory.write("from", "new");
  EXPECT_NO_THROW(CpFile(directory.wide("from"), L"/dev/null", false));
}

TEST(CpFile, ThrowsPosixErrorWhenAFileCannotBeOpenedAndLeavesTheOtherAlone) {
  const TemporaryDirectory directory;
  directory.write("file", "kept");
  directory.makeDirectory("d");
  EXPECT_EQ(PosixCodeOf([&] { CpFile(directory.wide("missing"), directory.wide("file"), true); }),
            static_cast<std::uint32_t>(ENOENT));
  EXPECT_EQ(PosixCodeOf([&] { CpFile(directory.wide("file"), directory.wide("d"), true); }),
            static_cast<std::uint32_t>(EISDIR));
  EXPECT_EQ(PosixCodeOf([&] { CpFile(directory.wide("file"), directory.wide("none/to"), true); }),
            static_cast<std::uint32_t>(ENOENT));
  EXPECT_EQ(directory.read("file"), "kept");
  EXPECT_TRUE(directory.has("d"));
}

TEST(CpFile, ThrowsFileReadFailedForADirectoryAndLeavesTheDestinationAlone) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d");
  directory.write("to", "kept");
  EXPECT_THROW(CpFile(directory.wide("d"), directory.wide("to"), true), exception::FileReadFailed);
  EXPECT_THROW(CpFile(directory.wide("d"), directory.wide("new"), true), exception::FileReadFailed);
  EXPECT_EQ(directory.read("to"), "kept");
  EXPECT_FALSE(directory.has("new"));
}

TEST(CpFile, ThrowsFileWriteFailedWhenTheDiskIsFullAndKeepsTheDevice) {
  const TemporaryDirectory directory;
  directory.write("from", "contents");
  directory.makeLink("/dev/full", "to");
  EXPECT_THROW(CpFile(directory.wide("from"), directory.wide("to"), true),
               exception::FileWriteFailed);
  EXPECT_TRUE(directory.has("to"));
}

TEST(CpFile, RefusesRelativePaths) {
  EXPECT_THROW(CpFile(L"a", L"/b", true), exception::InvalidArgument);
  EXPECT_THROW(CpFile(L"/a", L"b", true), exception::InvalidArgument);
}

TEST(CpFile, RefusesNamesWithANullCharacterAndCreatesNothing) {
  const TemporaryDirectory directory;
  directory.write("a");
  EXPECT_THROW(CpFile(WithNull(directory.wide("a")), directory.wide("b"), true),
               exception::InvalidArgument);
  EXPECT_THROW(CpFile(directory.wide("a"), WithNull(directory.wide("b")), true),
               exception::InvalidArgument);
  EXPECT_FALSE(directory.has("b"));
}

TEST(CpDir, CopiesATree) {
  const TemporaryDirectory directory;
  directory.makeDirectory("from/a/b");
  directory.makeDirectory("from/empty");
  directory.write("from/file", "1");
  directory.write("from/a/file", "2");
  directory.write("from/a/b/file", "3");
  CpDir(directory.wide("from"), directory.wide("to/"));
  EXPECT_EQ(directory.read("to/file"), "1");
  EXPECT_EQ(directory.read("to/a/file"), "2");
  EXPECT_EQ(directory.read("to/a/b/file"), "3");
  EXPECT_TRUE(IsDirectory(directory.wide("to/empty")));
  EXPECT_TRUE(directory.has("from/a/b/file"));
}

TEST(CpDir, MergesIntoADirectoryAndOverwritesFiles) {
  const TemporaryDirectory directory;
  directory.makeDirectory("from/a");
  directory.write("from/a/file", "new");
  directory.makeDirectory("to/a");
  directory.write("to/a/file", "old");
  directory.write("to/a/other", "kept");
  CpDir(directory.wide("from"), directory.wide("to"));
  EXPECT_EQ(directory.read("to/a/file"), "new");
  EXPECT_EQ(directory.read("to/a/other"), "kept");
}

TEST(CpDir, CreatesOnlyTheParentsOfADirectoryWithoutTrailingSlash) {
  const TemporaryDirectory directory;
  directory.makeDirectory("empty");
  CpDir(directory.wide("empty"), directory.wide("parent/to"));
  EXPECT_TRUE(directory.has("parent"));
  EXPECT_FALSE(directory.has("parent/to"));

  directory.makeDirectory("from");
  directory.write("from/file");
  EXPECT_EQ(PosixCodeOf([&] { CpDir(directory.wide("from"), directory.wide("parent/to")); }),
            static_cast<std::uint32_t>(ENOENT));
}

TEST(CpDir, LeavesOutNamesThatBeginWithADot) {
  const TemporaryDirectory directory;
  directory.makeDirectory("from/.hiddenDirectory");
  directory.write("from/.hidden");
  directory.write("from/seen");
  CpDir(directory.wide("from"), directory.wide("to/"));
  EXPECT_TRUE(directory.has("to/seen"));
  EXPECT_FALSE(directory.has("to/.hidden"));
  EXPECT_FALSE(directory.has("to/.hiddenDirectory"));
}

TEST(CpDir, TakesPatternCharactersInTheDirectorysNameForThemselves) {
  const TemporaryDirectory directory;
  directory.makeDirectory("a[b]");
  directory.makeDirectory("ab");
  directory.write("a[b]/own");
  directory.write("ab/other");
  CpDir(directory.wide("a[b]"), directory.wide("to/"));
  EXPECT_TRUE(directory.has("to/own"));
  EXPECT_FALSE(directory.has("to/other"));
}

TEST(CpDir, FollowsLinks) {
  const TemporaryDirectory directory;
  directory.makeDirectory("outside");
  directory.write("outside/file", "contents");
  directory.makeDirectory("from");
  directory.makeLink("../outside", "from/directory");
  directory.makeLink("../outside/file", "from/file");
  CpDir(directory.wide("from"), directory.wide("to/"));
  EXPECT_EQ(directory.read("to/directory/file"), "contents");
  EXPECT_EQ(directory.read("to/file"), "contents");
  EXPECT_FALSE(IsSymLink(directory.wide("to/directory")));
  EXPECT_FALSE(IsSymLink(directory.wide("to/file")));
}

TEST(CpDir, CopiesADirectoryThatTwoLinksLeadToTwice) {
  const TemporaryDirectory directory;
  directory.makeDirectory("outside");
  directory.write("outside/file", "contents");
  directory.makeDirectory("from");
  directory.makeLink("../outside", "from/a");
  directory.makeLink("../outside", "from/b");
  CpDir(directory.wide("from"), directory.wide("to/"));
  EXPECT_EQ(directory.read("to/a/file"), "contents");
  EXPECT_EQ(directory.read("to/b/file"), "contents");
}

TEST(CpDir, ThrowsPosixErrorForALinkThatLeadsBack) {
  const TemporaryDirectory directory;
  directory.makeDirectory("from/a");
  directory.makeLink("..", "from/a/up");
  EXPECT_EQ(PosixCodeOf([&] { CpDir(directory.wide("from"), directory.wide("to/")); }),
            static_cast<std::uint32_t>(ELOOP));
  EXPECT_FALSE(directory.has("to/a/up"));
}

TEST(CpDir, ThrowsPosixErrorForALinkThatLeadsNowhere) {
  const TemporaryDirectory directory;
  directory.makeDirectory("from");
  directory.makeLink("missing", "from/dangling");
  EXPECT_EQ(PosixCodeOf([&] { CpDir(directory.wide("from"), directory.wide("to/")); }),
            static_cast<std::uint32_t>(ENOENT));
}

TEST(CpDir, IntoADirectoryOfItsOwnComesToAnEnd) {
  const TemporaryDirectory directory;
  directory.makeDirectory("from");
  directory.write("from/file", "contents");
  CpDir(directory.wide("from"), directory.wide("from/copy/"));
  EXPECT_EQ(directory.read("from/copy/file"), "contents");
  EXPECT_FALSE(directory.has("from/copy/copy"));
  CpDir(directory.wide("from"), directory.wide("from/copy/"));
  EXPECT_EQ(directory.read("from/copy/copy/file"), "contents");
  EXPECT_FALSE(directory.has("from/copy/copy/copy"));
}

TEST(CpDir, OntoItselfChangesNothing) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d");
  directory.write("d/file", "kept");
  directory.makeLink("d", "link");
  CpDir(directory.wide("d"), directory.wide("d"));
  CpDir(directory.wide("d"), directory.wide("link"));
  EXPECT_EQ(directory.read("d/file"), "kept");
}

TEST(CpDir, ThrowsNonexistentExceptionWhenTheSourceIsNoDirectory) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_THROW(CpDir(directory.wide("missing"), directory.wide("to/")),
               exception::NonexistentException);
  EXPECT_THROW(CpDir(directory.wide("file"), directory.wide("to/")),
               exception::NonexistentException);
  EXPECT_FALSE(directory.has("to"));
}

TEST(CpDir, RefusesRelativePaths) {
  EXPECT_THROW(CpDir(L"a", L"/b"), exception::InvalidArgument);
  EXPECT_THROW(CpDir(L"/", L"b"), exception::InvalidArgument);
  EXPECT_THROW(CpDir(L"/missing", L"b"), exception::InvalidArgument);
}

TEST(CpDir, RefusesNamesWithANullCharacter) {
  const TemporaryDirectory directory;
  EXPECT_THROW(CpDir(WithNull(directory.wide()), directory.wide("to/")),
               exception::InvalidArgument);
  EXPECT_THROW(CpDir(directory.wide(), WithNull(directory.wide("to/"))),
               exception::InvalidArgument);
  EXPECT_FALSE(directory.has("to"));
}

}  // namespace
