#include "kit/osdep/path.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "kit/exception/AccessDenied.h"
#include "kit/exception/FileAlreadyExists.h"
#include "kit/exception/FileReadFailed.h"
#include "kit/exception/FileWriteFailed.h"
#include "kit/exception/ObjectAlreadyExists.h"
#include "kit/exception/PosixError.h"
#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using namespace qv::kit::osdep::path;
using qv::tests::Exactly;
using qv::tests::StagedSystemCalls;
using qv::tests::SystemCall;
using qv::tests::TemporaryDirectory;

class PathFault : public testing::Test {
 protected:
  /// Checks that action throws a PosixError with this code, undisturbed by all that runs between
  /// the failure and the throw.
  template <typename ActionT>
  static void expectPosixError(int code, ActionT action) {
    try {
      action();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const PosixError& error) {
      EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(code));
    }
  }

  const TemporaryDirectory directory_;
  StagedSystemCalls staged_;
};

TEST_F(PathFault, IsDirectoryRepeatsAnInterruptedCall) {
  staged_.fail(SystemCall::Stat, EINTR, 3);
  EXPECT_TRUE(IsDirectory(directory_.wide()));
  EXPECT_EQ(staged_.calls(SystemCall::Stat), 4U);
}

TEST_F(PathFault, IsDirectoryAsksNobodyAboutARelativePath) {
  EXPECT_FALSE(IsDirectory(L"."));
  EXPECT_EQ(staged_.calls(SystemCall::Stat), 0U);
}

TEST_F(PathFault, IsDirectoryIsFalseWhereTheSystemCannotTell) {
  staged_.fail(SystemCall::Stat, EACCES);
  EXPECT_FALSE(IsDirectory(directory_.wide()));
}

TEST_F(PathFault, IsSymLinkRepeatsAnInterruptedCall) {
  directory_.makeLink("x", "link");
  staged_.fail(SystemCall::Lstat, EINTR, 2);
  EXPECT_TRUE(IsSymLink(directory_.wide("link")));
}

TEST_F(PathFault, DoesFileExistRepeatsAnInterruptedCall) {
  directory_.write("file");
  staged_.fail(SystemCall::Stat, EINTR, 2);
  EXPECT_TRUE(DoesFileExist(directory_.wide("file")));
}

TEST_F(PathFault, DoesFileExistThrowsEveryErrorButEnoent) {
  staged_.fail(SystemCall::Stat, ENOENT);
  EXPECT_FALSE(DoesFileExist(directory_.wide("file")));
  for (const int code : {EACCES, EIO, ELOOP, ENAMETOOLONG, ENOTDIR}) {
    staged_.fail(SystemCall::Stat, code);
    expectPosixError(code, [&] { DoesFileExist(directory_.wide("file")); });
  }
}

TEST_F(PathFault, CreateDirRepeatsAnInterruptedCall) {
  staged_.fail(SystemCall::Mkdir, EINTR, 2);
  CreateDir(directory_.wide("a/"));
  EXPECT_TRUE(directory_.has("a"));
  EXPECT_EQ(staged_.calls(SystemCall::Mkdir), 3U);
}

TEST_F(PathFault, CreateDirTurnsEveryErrorButEexistIntoAccessDenied) {
  for (const int code : {EACCES, ENOENT, ENOSPC, EROFS, EIO, ENOTDIR, EMLINK}) {
    const std::string name = std::to_string(code);
    staged_.fail(SystemCall::Mkdir, code, 1, 2);
    try {
      CreateDir(directory_.wide(name + "/b/c/"));
      ADD_FAILURE() << "nothing was thrown";
    } catch (const exception::AccessDenied& denied) {
      EXPECT_EQ(denied.what(), "Access denied: " + directory_.path(name + "/b"));
    }
    EXPECT_TRUE(directory_.has(name));
  }
}

TEST_F(PathFault, CreateDirTurnsEexistIntoObjectAlreadyExists) {
  staged_.fail(SystemCall::Mkdir, EEXIST);
  EXPECT_THROW(CreateDir(directory_.wide("a/")), exception::ObjectAlreadyExists);
}

TEST_F(PathFault, CreateDirAcceptsADirectoryThatSomeoneElseCreatesMeanwhile) {
  staged_.before(SystemCall::Mkdir, [this] { directory_.makeDirectory("a"); });
  EXPECT_NO_THROW(CreateDir(directory_.wide("a/b/")));
  EXPECT_TRUE(directory_.has("a/b"));
}

TEST_F(PathFault, RemoveFileRepeatsAnInterruptedCallAndThrowsOtherErrors) {
  directory_.write("file");
  staged_.fail(SystemCall::Unlink, EACCES);
  expectPosixError(EACCES, [&] { RemoveFile(directory_.wide("file")); });
  staged_.fail(SystemCall::Unlink, EINTR, 2);
  RemoveFile(directory_.wide("file"));
  EXPECT_FALSE(directory_.has("file"));
}

TEST_F(PathFault, RemoveDirRepeatsAnInterruptedCallAndDeniesOtherErrors) {
  directory_.makeDirectory("d");
  for (const int code : {EACCES, EBUSY, ENOTEMPTY}) {
    staged_.fail(SystemCall::Rmdir, code);
    try {
      RemoveDir(directory_.wide("d"));
      ADD_FAILURE() << "nothing was thrown";
    } catch (const exception::AccessDenied& denied) {
      EXPECT_EQ(denied.what(), "Access denied: " + directory_.path("d"));
    }
  }
  staged_.fail(SystemCall::Rmdir, EINTR, 2);
  RemoveDir(directory_.wide("d"));
  EXPECT_FALSE(directory_.has("d"));
}

TEST_F(PathFault, RemoveDirForceStopsAtAFileThatCannotBeRemoved) {
  directory_.makeDirectory("d");
  directory_.write("d/a");
  directory_.write("d/b");
  staged_.fail(SystemCall::Unlink, EACCES, 1, 2);
  expectPosixError(EACCES, [&] { RemoveDirForce(directory_.wide("d")); });
  EXPECT_FALSE(directory_.has("d/a"));
  EXPECT_TRUE(directory_.has("d/b"));
}

TEST_F(PathFault, RemoveDirForceLeavesOutTheDirectoryItselfAndItsParent) {
  for (const char* leftOut : {"p/d/.", "p/d/.."}) {
    directory_.makeDirectory("p/d");
    directory_.write("p/d/file");
    directory_.write("p/sibling");
    staged_.giveMatches({directory_.path(leftOut), directory_.path("p/d/file")});
    RemoveDirForce(directory_.wide("p/d"));
    EXPECT_FALSE(directory_.has("p/d")) << leftOut;
    EXPECT_TRUE(directory_.has("p/sibling")) << leftOut;
  }
}

TEST_F(PathFault, RemoveDirForceRemovesNothingWhenTheSearchFails) {
  directory_.makeDirectory("d");
  directory_.write("d/a");
  for (const int code : {ENOMEM, EIO}) {
    staged_.fail(SystemCall::Glob, code);
    expectPosixError(code, [&] { RemoveDirForce(directory_.wide("d")); });
  }
  EXPECT_TRUE(directory_.has("d/a"));
}

TEST_F(PathFault, GetCwdThrowsWhatTheSystemSays) {
  staged_.fail(SystemCall::Getcwd, EACCES);
  expectPosixError(EACCES, [] { GetCWD(); });
}

TEST_F(PathFault, SetCwdRepeatsAnInterruptedCallAndThrowsOtherErrors) {
  const auto before = std::filesystem::current_path();
  staged_.fail(SystemCall::Chdir, EACCES);
  expectPosixError(EACCES, [&] { SetCWD(directory_.wide()); });
  staged_.fail(SystemCall::Chdir, EINTR, 2);
  SetCWD(directory_.wide());
  EXPECT_EQ(std::filesystem::current_path(), directory_.path());
  std::filesystem::current_path(before);
}

TEST_F(PathFault, TempFileNameThrowsWhatTempnamSays) {
  staged_.fail(SystemCall::Tempnam, EEXIST);
  expectPosixError(EEXIST, [&] { TempFileName(L"pre", directory_.wide()); });
}

TEST_F(PathFault, CreateSymLinkRepeatsAnInterruptedCallAndThrowsOtherErrors) {
  staged_.fail(SystemCall::Symlink, EROFS);
  expectPosixError(EROFS, [&] { CreateSymLink(L"x", directory_.wide("link")); });
  staged_.fail(SystemCall::Symlink, EINTR, 2);
  CreateSymLink(L"x", directory_.wide("link"));
  EXPECT_TRUE(directory_.has("link"));
}

TEST_F(PathFault, ResolveSymLinkRepeatsInterruptedCallsAndThrowsOtherErrors) {
  directory_.makeLink("target", "link");
  staged_.fail(SystemCall::Lstat, EACCES);
  expectPosixError(EACCES, [&] { ResolveSymLink(directory_.wide("link")); });
  staged_.fail(SystemCall::Readlink, EIO);
  expectPosixError(EIO, [&] { ResolveSymLink(directory_.wide("link")); });
  staged_.fail(SystemCall::Lstat, EINTR, 2);
  staged_.fail(SystemCall::Readlink, EINTR, 2);
  EXPECT_EQ(Exactly(ResolveSymLink(directory_.wide("link"))), L"target");
}

TEST_F(PathFault, ResolveSymLinkReadsNothingButLinks) {
  directory_.write("file");
  expectPosixError(EINVAL, [&] { ResolveSymLink(directory_.wide("file")); });
  EXPECT_EQ(staged_.calls(SystemCall::Readlink), 0U);
}

TEST_F(PathFault, ResolveSymLinkGivesUpOnALinkWithoutEnd) {
  directory_.makeLink("target", "link");
  staged_.giveLinkText(std::string(1 << 24, 'l'));
  expectPosixError(ENAMETOOLONG, [&] { ResolveSymLink(directory_.wide("link")); });
}

TEST_F(PathFault, ResolveSymLinkReadsALinkThatGrowsMeanwhileWhole) {
  const std::string longer(1000, 'l');
  directory_.makeLink("short", "link");
  staged_.before(SystemCall::Readlink, [&] {
    std::filesystem::remove(directory_.path("link"));
    directory_.makeLink(longer, "link");
  });
  EXPECT_EQ(Exactly(ResolveSymLink(directory_.wide("link"))), Exactly(WString(longer.c_str())));
}

TEST_F(PathFault, RenameFileRepeatsAnInterruptedCallAndThrowsOtherErrors) {
  directory_.write("a", "contents");
  for (const int code : {EACCES, ENOSPC, EROFS}) {
    staged_.fail(SystemCall::Rename, code);
    expectPosixError(code, [&] { RenameFile(directory_.wide("a"), directory_.wide("b")); });
  }
  EXPECT_EQ(directory_.read("a"), "contents");
  staged_.fail(SystemCall::Rename, EINTR, 2);
  RenameFile(directory_.wide("a"), directory_.wide("b"));
  EXPECT_EQ(directory_.read("b"), "contents");
}

/// The two names of a rename lie on different file systems.
class RenameAcrossFileSystems : public PathFault {
 protected:
  RenameAcrossFileSystems() {
    directory_.write("a", contents_);
    staged_.fail(SystemCall::Rename, EXDEV);
  }

  void rename() const { RenameFile(directory_.wide("a"), directory_.wide("b")); }

  const std::string contents_ = std::string(10000, 'c');
};

TEST_F(RenameAcrossFileSystems, CopiesTheFileAndRemovesTheSource) {
  rename();
  EXPECT_FALSE(directory_.has("a"));
  EXPECT_EQ(directory_.read("b"), contents_);
}

TEST_F(RenameAcrossFileSystems, ReplacesAFileInTheWay) {
  directory_.write("b", "old");
  rename();
  EXPECT_FALSE(directory_.has("a"));
  EXPECT_EQ(directory_.read("b"), contents_);
}

TEST_F(RenameAcrossFileSystems, MakesTheCopyAndItsNameDurableBeforeTheSourceGoes) {
  std::vector<std::string> order;
  const auto note = [&](SystemCall call, const char* name, unsigned nth) {
    staged_.before(
        call, [&order, name] { order.emplace_back(name); }, nth);
  };
  for (const unsigned nth : {1U, 2U, 3U}) {
    note(SystemCall::Open, "open", nth);
    note(SystemCall::Write, "write", nth);
    note(SystemCall::Fsync, "fsync", nth);
    note(SystemCall::Close, "close", nth);
    note(SystemCall::Unlink, "unlink", nth);
  }
  rename();
  // Source, destination, and the directory of the destination while the source is still open.
  EXPECT_EQ(order,
            (std::vector<std::string>{"open", "open", "write", "write", "write", "fsync", "close",
                                      "open", "fsync", "close", "close", "unlink"}));
}

TEST_F(RenameAcrossFileSystems, SyncsTheDirectoryThatGetsTheCopy) {
  directory_.makeDirectory("d");
  // Once the copy is closed and before its directory is opened.
  staged_.before(
      SystemCall::Open,
      [this] { std::filesystem::rename(directory_.path("d"), directory_.path("elsewhere")); }, 3);
  expectPosixError(ENOENT, [this] { RenameFile(directory_.wide("a"), directory_.wide("d/b")); });
  EXPECT_EQ(directory_.read("a"), contents_);
}

TEST_F(RenameAcrossFileSystems, KeepsTheSourceWhenTheNameOfTheCopyCannotBeMadeDurable) {
  staged_.fail(SystemCall::Fsync, EIO, 1, 2);
  expectPosixError(EIO, [this] { rename(); });
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_FALSE(directory_.has("b"));
}

TEST_F(RenameAcrossFileSystems, TakesItThatSomeFileSystemsCannotSyncDirectories) {
  staged_.fail(SystemCall::Fsync, EINVAL, 1, 2);
  rename();
  EXPECT_FALSE(directory_.has("a"));
  EXPECT_EQ(directory_.read("b"), contents_);
}

TEST_F(RenameAcrossFileSystems, KeepsTheSourceAndNoCopyWhenTheCopyCannotBeClosed) {
  staged_.fail(SystemCall::Close, EIO);
  EXPECT_THROW(rename(), exception::FileWriteFailed);
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_FALSE(directory_.has("b"));
}

/// Runs as a user whom permissions bind, as far as this process may.
class Unprivileged {
 public:
  explicit Unprivileged(const TemporaryDirectory& directory) {
    constexpr uid_t kNobody = 65534;
    if (::geteuid() != 0) return;
    if (::lchown(directory.path().c_str(), kNobody, 0) != 0 ||
        ::lchown(directory.path("a").c_str(), kNobody, 0) != 0 || ::seteuid(kNobody) != 0) {
      ADD_FAILURE() << "no other user to be";
    }
  }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;
  ~Unprivileged() { EXPECT_EQ(::seteuid(::getuid()), 0); }
};

TEST_F(RenameAcrossFileSystems, WorksUnderAUmaskThatTakesTheRightToWrite) {
  const Unprivileged user(directory_);
  const mode_t before = ::umask(0277);
  rename();
  ::umask(before);
  EXPECT_FALSE(directory_.has("a"));
  EXPECT_EQ(directory_.permissions("b"), 0400U);
  EXPECT_EQ(directory_.read("b"), contents_);
}

TEST_F(RenameAcrossFileSystems, RemovesNothingButTheLinkThatLeadsToTheDestination) {
  directory_.write("b", "kept");
  directory_.makeLink("b", "link");
  RenameFile(directory_.wide("link"), directory_.wide("b"));
  EXPECT_FALSE(directory_.has("link"));
  EXPECT_EQ(directory_.read("b"), "kept");
}

TEST_F(RenameAcrossFileSystems, MovesALinkAsTheContentsItLeadsTo) {
  directory_.makeLink("a", "link");
  RenameFile(directory_.wide("link"), directory_.wide("b"));
  EXPECT_FALSE(directory_.has("link"));
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_EQ(directory_.read("b"), contents_);
  EXPECT_FALSE(IsSymLink(directory_.wide("b")));
  EXPECT_EQ(directory_.permissions("b"), 0600U);
}

TEST_F(RenameAcrossFileSystems, ChangesNothingWhenItCannotTellWhetherBothAreOneFile) {
  std::filesystem::create_hard_link(directory_.path("a"), directory_.path("b"));
  staged_.fail(SystemCall::Stat, EIO, 1, 2);
  expectPosixError(EIO, [this] { rename(); });
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_EQ(directory_.read("b"), contents_);
}

TEST_F(RenameAcrossFileSystems, KeepsTheSourceWhenTheCopyCannotBeMadeDurable) {
  staged_.fail(SystemCall::Fsync, EIO);
  expectPosixError(EIO, [this] { rename(); });
  EXPECT_EQ(directory_.read("a"), contents_);
}

TEST_F(RenameAcrossFileSystems, KeepsTheSourceAndNoHalfCopyWhenAWriteFails) {
  staged_.fail(SystemCall::Write, ENOSPC, 1, 2);
  EXPECT_THROW(rename(), exception::FileWriteFailed);
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_FALSE(directory_.has("b"));
}

TEST_F(RenameAcrossFileSystems, KeepsTheSourceAndNoHalfCopyWhenAReadFails) {
  staged_.fail(SystemCall::Read, EIO, 1, 2);
  EXPECT_THROW(rename(), exception::FileReadFailed);
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_FALSE(directory_.has("b"));
}

TEST_F(RenameAcrossFileSystems, KeepsTheSourceWhenTheDestinationCannotBeOpened) {
  staged_.fail(SystemCall::Open, EACCES, 1, 2);
  expectPosixError(EACCES, [this] { rename(); });
  EXPECT_EQ(directory_.read("a"), contents_);
}

TEST_F(RenameAcrossFileSystems, KeepsBothWhenTheSourceCannotBeRemoved) {
  staged_.fail(SystemCall::Unlink, EACCES);
  expectPosixError(EACCES, [this] { rename(); });
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_EQ(directory_.read("b"), contents_);
}

TEST_F(RenameAcrossFileSystems, DoesNothingWhenBothNamesLeadToOneFile) {
  std::filesystem::create_hard_link(directory_.path("a"), directory_.path("b"));
  rename();
  EXPECT_EQ(directory_.read("a"), contents_);
  EXPECT_EQ(directory_.read("b"), contents_);
}

TEST_F(RenameAcrossFileSystems, LeavesADirectoryWhereItIs) {
  directory_.makeDirectory("d/below");
  EXPECT_THROW(RenameFile(directory_.wide("d"), directory_.wide("b")), exception::FileReadFailed);
  EXPECT_TRUE(directory_.has("d/below"));
  EXPECT_FALSE(directory_.has("b"));
}

TEST_F(PathFault, CpFileRepeatsEveryInterruptedCall) {
  directory_.write("from", "contents");
  for (const SystemCall call :
       {SystemCall::Open, SystemCall::Read, SystemCall::Write, SystemCall::Close}) {
    staged_.fail(call, EINTR, 2);
  }
  CpFile(directory_.wide("from"), directory_.wide("to"), false);
  EXPECT_EQ(directory_.read("to"), "contents");
}

TEST_F(PathFault, CpFileThrowsFileWriteFailedForAShortWrite) {
  directory_.write("from", std::string(10000, 'c'));
  staged_.shorten(SystemCall::Write, 100, 1, 2);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), false),
               exception::FileWriteFailed);
  EXPECT_FALSE(directory_.has("to"));
}

TEST_F(PathFault, CpFileTakesShortReadsForWhatTheyAre) {
  directory_.write("from", std::string(10000, 'c'));
  staged_.shorten(SystemCall::Read, 7, 100);
  CpFile(directory_.wide("from"), directory_.wide("to"), false);
  EXPECT_EQ(directory_.read("to"), std::string(10000, 'c'));
}

TEST_F(PathFault, CpFileReadsAndWritesChunksOf4096Bytes) {
  directory_.write("from", std::string(10000, 'c'));
  CpFile(directory_.wide("from"), directory_.wide("to"), false);
  EXPECT_EQ(staged_.calls(SystemCall::Write), 3U);
  EXPECT_EQ(staged_.calls(SystemCall::Read), 4U);
}

TEST_F(PathFault, CpFileThatFailsLeavesAFileThatWasThereInPlace) {
  directory_.write("from", std::string(10000, 'c'));
  directory_.write("to", "old");
  staged_.fail(SystemCall::Write, EIO, 1, 2);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), true),
               exception::FileWriteFailed);
  EXPECT_TRUE(directory_.has("to"));
  EXPECT_EQ(directory_.read("from"), std::string(10000, 'c'));
}

TEST_F(PathFault, CpFileTouchesNothingWhenTheFirstReadFails) {
  directory_.write("from", "new");
  directory_.write("to", "old");
  staged_.fail(SystemCall::Read, EIO);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), true),
               exception::FileReadFailed);
  EXPECT_EQ(directory_.read("to"), "old");
}

TEST_F(PathFault, CpFileThrowsFileWriteFailedWhenTheCopyCannotBeClosed) {
  directory_.write("from", "new");
  staged_.fail(SystemCall::Close, EIO);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), false),
               exception::FileWriteFailed);
  EXPECT_FALSE(directory_.has("to"));
}

TEST_F(PathFault, CpFileChangesNothingWhenItCannotTellWhetherBothAreOneFile) {
  directory_.write("from", "kept");
  std::filesystem::create_hard_link(directory_.path("from"), directory_.path("to"));
  for (const int code : {EIO, EACCES, ELOOP, ENOTDIR}) {
    for (const unsigned nth : {1U, 2U}) {
      staged_.fail(SystemCall::Stat, code, 1, nth);
      expectPosixError(code, [&] { CpFile(directory_.wide("from"), directory_.wide("to"), true); });
    }
  }
  EXPECT_EQ(directory_.read("from"), "kept");
}

TEST_F(PathFault, CpFileKnowsAHardLinkOfTheSourceAfterInterruptedCalls) {
  directory_.write("from", "kept");
  std::filesystem::create_hard_link(directory_.path("from"), directory_.path("to"));
  for (const unsigned nth : {1U, 2U}) {
    staged_.fail(SystemCall::Stat, EINTR, 2, nth);
    CpFile(directory_.wide("from"), directory_.wide("to"), true);
    EXPECT_EQ(directory_.read("from"), "kept") << nth;
  }
}

TEST_F(PathFault, CpFileDoesNotOverwriteAFileMadeMeanwhileWithoutLeave) {
  directory_.write("from", "new");
  staged_.before(
      SystemCall::Open, [this] { directory_.write("to", "kept"); }, 2);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), false),
               exception::FileAlreadyExists);
  EXPECT_EQ(directory_.read("to"), "kept");
}

TEST_F(PathFault, CpFileDoesNotRemoveAFileThatSomeoneElseMadeMeanwhile) {
  directory_.write("from", std::string(10000, 'c'));
  staged_.before(
      SystemCall::Open, [this] { directory_.write("to", "old"); }, 2);
  staged_.fail(SystemCall::Write, ENOSPC);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), true),
               exception::FileWriteFailed);
  EXPECT_TRUE(directory_.has("to"));
}

TEST_F(PathFault, CpFileThatFailsLeavesNoFileBehindALinkThatLedNowhere) {
  directory_.write("from", std::string(10000, 'c'));
  directory_.makeDirectory("d");
  directory_.makeLink("d/second", "to");
  directory_.makeLink("../real", "d/second");
  staged_.fail(SystemCall::Write, ENOSPC, 1, 2);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), true),
               exception::FileWriteFailed);
  EXPECT_FALSE(directory_.has("real"));
  EXPECT_TRUE(directory_.has("to"));
  EXPECT_TRUE(directory_.has("d/second"));
}

TEST_F(PathFault, CpFileDoesNotOverwriteAFileMadeBehindALinkMeanwhileWithoutLeave) {
  directory_.write("from", "new");
  directory_.makeLink("real", "to");
  // The source, the link, then what the link leads to.
  staged_.before(
      SystemCall::Open, [this] { directory_.write("real", "kept"); }, 3);
  EXPECT_THROW(CpFile(directory_.wide("from"), directory_.wide("to"), false),
               exception::FileAlreadyExists);
  EXPECT_EQ(directory_.read("real"), "kept");
}

TEST_F(PathFault, CpDirRepeatsEveryInterruptedCall) {
  directory_.makeDirectory("from/below");
  directory_.write("from/below/file", "contents");
  directory_.makeDirectory("to/below");
  std::filesystem::create_hard_link(directory_.path("from/below/file"),
                                    directory_.path("to/below/file"));
  for (unsigned nth = 1; nth <= 12; ++nth) {
    staged_.fail(SystemCall::Stat, EINTR, 1, nth);
    CpDir(directory_.wide("from"), directory_.wide("to/"));
    EXPECT_EQ(directory_.read("from/below/file"), "contents") << nth;
  }
}

TEST_F(PathFault, CpDirLeavesOutTheDirectoryItselfAndItsParent) {
  directory_.makeDirectory("p/from");
  directory_.write("p/from/file", "contents");
  for (const char* leftOut : {"p/from/.", "p/from/.."}) {
    staged_.giveMatches({directory_.path(leftOut), directory_.path("p/from/file")});
    CpDir(directory_.wide("p/from"), directory_.wide("p/to/"));
    EXPECT_EQ(directory_.read("p/to/file"), "contents") << leftOut;
    RemoveDirForce(directory_.wide("p/to"));
  }
}

TEST_F(PathFault, CpDirThrowsPosixErrorAndCreatesNothingWhenTheSearchFails) {
  directory_.makeDirectory("from");
  staged_.fail(SystemCall::Glob, EIO);
  expectPosixError(EIO, [&] { CpDir(directory_.wide("from"), directory_.wide("to/")); });
  EXPECT_FALSE(directory_.has("to"));
}

}  // namespace
