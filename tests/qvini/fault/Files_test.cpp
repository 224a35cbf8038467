#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "qvini/nameHash.h"
#include "qvini/qvini.h"
#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::StagedSystemCalls;
using qv::tests::SystemCall;
using qv::tests::TemporaryDirectory;
using qv::tests::TestDocument;
using Texts = std::vector<std::string>;

constexpr unsigned kInPlace = 8;
constexpr unsigned kNamed = 8 | 2;
constexpr unsigned kUnique = 8 | 2 | 4;

const std::string kNewContents = "[s]\nk = v\n\n";

class FileFaults : public testing::Test {
 protected:
  FileFaults() { directory_.write("file", "old"); }

  int read(const std::string& bytes) {
    directory_.write("source", bytes);
    return IniReadFromFile(document_, directory_.path("source").c_str());
  }

  int write(unsigned flags, const std::string& name = "file") {
    document_->writeFlags = flags;
    return IniWriteToFile(document_, directory_.path(name).c_str());
  }

  std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path()))
      names.insert(entry.path().filename());
    return names;
  }

  // Writes safely with one call that fails, in either way and over an old file and none: every time
  // with this result, and nothing changes.
  void expectRefusal(SystemCall call, int error, int result, unsigned nth = 1) {
    for (const unsigned flags : {kNamed, kUnique}) {
      expectRefusalOf(flags, call, error, result, nth);
    }
  }

  void expectRefusalOf(unsigned flags, SystemCall call, int error, int result, unsigned nth = 1) {
    for (const char* name : {"file", "missing"}) {
      StagedSystemCalls staged;
      staged.fail(call, error, 1, nth);
      EXPECT_EQ(write(flags, name), result) << name << " with flags " << flags;
      EXPECT_GE(staged.calls(call), nth) << "the call was never made";
      expectUntouched();
    }
  }

  void expectUntouched() const {
    EXPECT_EQ(directory_.read("file"), "old");
    EXPECT_EQ(names(), (std::set<std::string>{"file"}));
    EXPECT_STREQ(document_->path, "");
    EXPECT_EQ(document_->modificationTime, 0);
  }

  // The temporary file, while a document is written.
  std::string temporary() const {
    for (const std::string& name : names()) {
      if (name.find("TMP") != std::string::npos) return name;
    }
    return "(none)";
  }

  const TemporaryDirectory directory_;
  const TestDocument document_{{"[s]", "k = v"}};
};

TEST_F(FileFaults, InterruptedReadsAreRepeated) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Open, EINTR, 3);
  staged.fail(SystemCall::Read, EINTR, 4);
  EXPECT_EQ(read("[s]\nk = 1\n"), 0);
  EXPECT_EQ(document_.value("s", "k"), "1");
}

TEST_F(FileFaults, ShortReadsAreNoEnd) {
  StagedSystemCalls staged;
  staged.shorten(SystemCall::Read, 1, StagedSystemCalls::kAll);
  EXPECT_EQ(read("\xef\xbb\xbf[s]\r\nk = 1\n\rl = 2\n"), 0);
  EXPECT_EQ(document_.lines(), (Texts{"[s]", "k = 1", "l = 2", ""}));
  EXPECT_EQ(document_.line("s", "l"), 3);
}

TEST_F(FileFaults, AMarkInPiecesIsRefusedAllTheSame) {
  StagedSystemCalls staged;
  staged.shorten(SystemCall::Read, 1, StagedSystemCalls::kAll);
  EXPECT_EQ(read(std::string("\0\0\xfe\xff", 4)), -3);
}

TEST_F(FileFaults, BlocksHaveTheirSize) {
  const std::string bytes(5000, ';');
  StagedSystemCalls staged;
  ASSERT_EQ(read(bytes), 0);
  EXPECT_EQ(staged.calls(SystemCall::Read), 4U) << "2084, 2084, 832 and the end";
}

TEST_F(FileFaults, AFileThatCannotBeOpenedLeavesTheDocument) {
  for (const int error : {EACCES, EMFILE, ENOENT, ELOOP}) {
    StagedSystemCalls staged;
    staged.fail(SystemCall::Open, error);
    EXPECT_EQ(read("[s]\nk = 1\n"), -5001);
    EXPECT_EQ(document_.value("s", "k"), "v");
  }
}

TEST_F(FileFaults, AReadThatFailsAnywhereEmptiesTheDocument) {
  const std::string bytes = "bad\n[s]\nk = 1\n" + std::string(5000, ';');
  for (unsigned nth = 1; nth <= 4; ++nth) {
    document_.read({"[old]", "k = v"});
    StagedSystemCalls staged;
    staged.fail(SystemCall::Read, EIO, 1, nth);
    EXPECT_EQ(read(bytes), -5002);
    EXPECT_EQ(staged.calls(SystemCall::Read), nth) << "and is not tried again";
    EXPECT_EQ(document_.lines(), Texts{});
    EXPECT_EQ(document_->firstBadLine, -1);
    EXPECT_STREQ(document_->path, "");
  }
}

TEST_F(FileFaults, ACloseThatFailsAfterReadingDoesNoHarm) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Close, EIO);
  EXPECT_EQ(read("[s]\nk = 1\n"), 0);
  EXPECT_EQ(document_.value("s", "k"), "1");
}

TEST_F(FileFaults, InterruptedWritesAreRepeated) {
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.fail(SystemCall::Open, EINTR, 2);
    staged.fail(SystemCall::Mkstemp, EINTR, 2);
    staged.fail(SystemCall::Write, EINTR, 2);
    staged.fail(SystemCall::Fsync, EINTR, 2);
    staged.fail(SystemCall::Rename, EINTR, 2);
    EXPECT_EQ(write(flags), 0);
    EXPECT_EQ(directory_.read("file"), kNewContents);
    EXPECT_EQ(names(), (std::set<std::string>{"file"}));
  }
}

TEST_F(FileFaults, InterruptedLooksAtTheOldFileAreRepeated) {
  directory_.write("file.TMP", "left over");
  StagedSystemCalls staged;
  staged.fail(SystemCall::Stat, EINTR, 2);
  staged.fail(SystemCall::Lstat, EINTR, 2);
  staged.fail(SystemCall::Unlink, EINTR, 2);
  staged.fail(SystemCall::Fchmod, EINTR, 2);
  EXPECT_EQ(write(kNamed), 0);
  EXPECT_EQ(directory_.read("file"), kNewContents);
  EXPECT_EQ(names(), (std::set<std::string>{"file"}));
}

TEST_F(FileFaults, AnInterruptedCloseHasClosed) {
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.fail(SystemCall::Close, EINTR, StagedSystemCalls::kAll);
    EXPECT_EQ(write(flags), 0);
    EXPECT_EQ(directory_.read("file"), kNewContents);
  }
}

TEST_F(FileFaults, ShortWritesAreContinued) {
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.shorten(SystemCall::Write, 1, StagedSystemCalls::kAll);
    EXPECT_EQ(write(flags), 0);
    EXPECT_EQ(directory_.read("file"), kNewContents);
  }
}

TEST_F(FileFaults, AWriteThatTakesNothingFails) {
  StagedSystemCalls staged;
  staged.shorten(SystemCall::Write, 0, StagedSystemCalls::kAll);
  EXPECT_EQ(write(kUnique), -28);
  expectUntouched();
}

TEST_F(FileFaults, TheProbeOfAMissingFileLeavesWhatAnotherWriterHasPutThere) {
  for (const unsigned flags : {kNamed, kUnique}) {
    StagedSystemCalls staged;
    // Another writer's new file takes the place of our empty one, as soon as that has been made.
    bool hasCome = false;
    const auto come = [this, &hasCome] {
      if (hasCome) return;
      hasCome = true;
      directory_.write("theirs", "complete");
      std::filesystem::rename(directory_.path("theirs"), directory_.path("missing"));
    };
    staged.before(SystemCall::Lstat, come);
    staged.before(SystemCall::Unlink, come);
    document_->maxLineLength = 1;  // so that nothing is written over it
    EXPECT_EQ(write(flags, "missing"), -2);
    EXPECT_EQ(directory_.read("missing"), "complete");
    ::unlink(directory_.path("missing").c_str());
  }
}

TEST_F(FileFaults, AFileThatAnotherWriterMakesWhileItIsProbedIsProbedAnew) {
  for (const unsigned flags : {kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.before(SystemCall::Open, [this] { directory_.write("missing", "theirs"); });
    EXPECT_EQ(write(flags, "missing"), 0);
    EXPECT_EQ(directory_.read("missing"), kNewContents);
    ::unlink(directory_.path("missing").c_str());
  }
}

TEST_F(FileFaults, AFileThatAnotherWriterRemovesWhileItIsProbedIsProbedAnew) {
  for (const unsigned flags : {kNamed, kUnique}) {
    directory_.write("file", "old");
    StagedSystemCalls staged;
    staged.before(SystemCall::Open, [this] { ::unlink(directory_.path("file").c_str()); });
    EXPECT_EQ(write(flags), 0);
    EXPECT_EQ(directory_.read("file"), kNewContents);
  }
}

TEST_F(FileFaults, AFileThatComesAndGoesForEverIsGivenUp) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Open, ENOENT, StagedSystemCalls::kAll);
  EXPECT_EQ(write(kUnique), -13);
  expectUntouched();
}

TEST_F(FileFaults, ATemporaryFileThatAnotherWriterHasTakenIsNeitherUsedNorRemoved) {
  StagedSystemCalls staged;
  staged.before(SystemCall::Fsync, [this] {
    ::unlink(directory_.path("file.TMP").c_str());
    directory_.write("file.TMP", "half of the oth");
  });
  EXPECT_EQ(write(kNamed), -13);
  EXPECT_EQ(directory_.read("file"), "old");
  EXPECT_EQ(directory_.read("file.TMP"), "half of the oth");
}

TEST_F(FileFaults, AFileReplacedWhileItIsReadIsRememberedWithTheTimeOfWhatWasRead) {
  directory_.write("source", "[s]\nk = 1\n");
  const timespec times[] = {{1000000000, 0}, {1234567890, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, directory_.path("source").c_str(), times, 0), 0);
  StagedSystemCalls staged;
  staged.before(SystemCall::Read, [this] {
    directory_.write("newer", "[s]\nk = 2\n");
    std::filesystem::rename(directory_.path("newer"), directory_.path("source"));
  });
  EXPECT_EQ(IniReadFromFile(document_, directory_.path("source").c_str()), 0);
  EXPECT_EQ(document_.value("s", "k"), "1");
  EXPECT_EQ(document_->modificationTime, 1234567890);
}

TEST_F(FileFaults, DescriptorsStayOutOfProgramsThatAreStartedMeanwhile) {
  int looks = 0;
  const auto expectClosedOnExec = [this, &looks] {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      const int descriptor = std::stoi(entry.path().filename());
      std::error_code error;
      const auto target = std::filesystem::read_symlink(entry.path(), error);
      if (error || target.parent_path() != directory_.path()) continue;
      ++looks;
      EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << target;
    }
  };
  directory_.write("source", "[s]\nk = v\n");
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.before(SystemCall::Read, expectClosedOnExec);
    staged.before(SystemCall::Write, expectClosedOnExec);
    EXPECT_EQ(IniReadFromFile(document_, directory_.path("source").c_str()), 0);
    EXPECT_EQ(write(flags), 0);
  }
  EXPECT_EQ(looks, 6) << "each file was seen while it was open";
}

TEST_F(FileFaults, AFullDiskLeavesTheOldFile) {
  for (const int error : {ENOSPC, EDQUOT, EIO, EFBIG})
    expectRefusal(SystemCall::Write, error, -28);
}

TEST_F(FileFaults, ADiskThatFillsUpLaterLeavesTheOldFile) {
  for (int i = 0; i < 1000; ++i)
    IniPut(document_, "s", ("key" + std::to_string(i)).c_str(), "a longer value", 0);
  for (unsigned nth = 2; nth <= 6; ++nth)
    expectRefusal(SystemCall::Write, ENOSPC, -28, nth);
}

TEST_F(FileFaults, AFullDiskInPlaceIsReported) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Write, ENOSPC);
  EXPECT_EQ(write(kInPlace), -28);
  EXPECT_EQ(names(), (std::set<std::string>{"file"})) << "no other file is removed";
  EXPECT_STREQ(document_->path, "");
}

TEST_F(FileFaults, AFileThatCannotBeOpenedInPlaceIsReported) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Open, EACCES);
  EXPECT_EQ(write(kInPlace), -5004);
  expectUntouched();
}

TEST_F(FileFaults, ACloseThatFailsInPlaceIsReported) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Close, EIO);
  EXPECT_EQ(write(kInPlace), -28);
  EXPECT_STREQ(document_->path, "");
}

TEST_F(FileFaults, InPlaceNothingIsProbedRenamedOrSynced) {
  StagedSystemCalls staged;
  EXPECT_EQ(write(kInPlace), 0);
  EXPECT_EQ(staged.calls(SystemCall::Open), 1U);
  EXPECT_EQ(staged.calls(SystemCall::Rename), 0U);
  EXPECT_EQ(staged.calls(SystemCall::Unlink), 0U);
  EXPECT_EQ(staged.calls(SystemCall::Fsync), 0U);
}

TEST_F(FileFaults, ATargetThatCannotBeLookedAtIsRefused) {
  for (const int error : {EACCES, ELOOP, ENAMETOOLONG, EIO})
    expectRefusal(SystemCall::Stat, error, -13);
}

TEST_F(FileFaults, ATargetThatCannotBeOpenedForUpdateOrCreatedIsRefused) {
  for (const int error : {EACCES, EROFS, ENOSPC, ETXTBSY})
    expectRefusal(SystemCall::Open, error, -13);
}

TEST_F(FileFaults, AProbeThatCannotBeClosedIsRefused) {
  expectRefusal(SystemCall::Close, EIO, -13);
}

TEST_F(FileFaults, AProbeThatCannotBeRemovedIsRefused) {
  for (const unsigned flags : {kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.fail(SystemCall::Unlink, EACCES);
    EXPECT_EQ(write(flags, "missing"), -13);
    EXPECT_EQ(directory_.read("missing"), "");
    ::unlink(directory_.path("missing").c_str());
    expectUntouched();
  }
}

TEST_F(FileFaults, AFileThatAppearsWhileItIsProbedIsKeptUntilTheNewOneIsComplete) {
  for (const unsigned flags : {kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.before(SystemCall::Open, [&] {
      directory_.write("late", "somebody's");
      ::chmod(directory_.path("late").c_str(), 0640);
    });
    std::string meanwhile;
    staged.before(SystemCall::Rename, [&] { meanwhile = directory_.read("late"); });
    EXPECT_EQ(write(flags, "late"), 0);
    EXPECT_EQ(meanwhile, "somebody's");
    EXPECT_EQ(directory_.read("late"), kNewContents);
    EXPECT_EQ(directory_.permissions("late"), 0640U);
    ::unlink(directory_.path("late").c_str());
  }
}

TEST_F(FileFaults, AMissingTargetIsProbedAndGoneAgainBeforeTheNewFileIsMade) {
  StagedSystemCalls staged;
  bool existed = true;
  staged.before(SystemCall::Mkstemp, [&] { existed = directory_.has("missing"); });
  EXPECT_EQ(write(kUnique, "missing"), 0);
  EXPECT_FALSE(existed);
  EXPECT_EQ(staged.calls(SystemCall::Unlink), 1U);
}

TEST_F(FileFaults, AUniqueFileThatCannotBeMadeIsReported) {
  for (const int error : {EACCES, EEXIST, ENOSPC, EROFS})
    expectRefusalOf(kUnique, SystemCall::Mkstemp, error, -5003);
}

TEST_F(FileFaults, ANamedFileThatCannotBeMadeIsReported) {
  for (const int error : {EACCES, ENOSPC, EROFS})
    expectRefusalOf(kNamed, SystemCall::Open, error, -5004, 2);
}

TEST_F(FileFaults, PermissionsThatCannotBeGivenAreReported) {
  expectRefusalOf(kUnique, SystemCall::Fchmod, EPERM, -5003);
  StagedSystemCalls staged;
  staged.fail(SystemCall::Fchmod, EPERM);
  EXPECT_EQ(write(kNamed), -5003);
  expectUntouched();
}

TEST_F(FileFaults, AFileThatDoesNotReachTheDiskIsReported) {
  for (const int error : {EIO, ENOSPC, EDQUOT})
    expectRefusal(SystemCall::Fsync, error, -28);
}

TEST_F(FileFaults, AFileSystemThatCannotSyncIsTakenAsItIs) {
  for (const int error : {EINVAL, ENOTSUP}) {
    StagedSystemCalls staged;
    staged.fail(SystemCall::Fsync, error, StagedSystemCalls::kAll);
    EXPECT_EQ(write(kUnique), 0);
    EXPECT_EQ(directory_.read("file"), kNewContents);
  }
}

TEST_F(FileFaults, ACloseThatFailsKeepsTheOldFile) {
  // The first close is that of the probe.
  for (const int error : {EIO, ENOSPC, EDQUOT})
    expectRefusal(SystemCall::Close, error, -28, 2);
}

TEST_F(FileFaults, ARenameThatFailsKeepsTheOldFile) {
  for (const int error : {EACCES, EXDEV, ENOSPC, EISDIR, EBUSY})
    expectRefusal(SystemCall::Rename, error, -13);
}

TEST_F(FileFaults, ADirectoryThatCannotBeSyncedIsNoFailure) {
  for (const unsigned flags : {kNamed, kUnique}) {
    StagedSystemCalls staged;
    staged.fail(SystemCall::Fsync, EIO, 1, 2);
    EXPECT_EQ(write(flags), 0);
    EXPECT_EQ(staged.calls(SystemCall::Fsync), 2U);
  }
  StagedSystemCalls staged;
  staged.fail(SystemCall::Open, EACCES, 1, 2);
  EXPECT_EQ(write(kUnique), 0) << "the second open is that of the directory";
  EXPECT_EQ(staged.calls(SystemCall::Fsync), 1U);
}

TEST_F(FileFaults, TheNewFileIsCompleteOnTheDiskAndHasItsPermissionsBeforeItGetsTheName) {
  ASSERT_EQ(::chmod(directory_.path("file").c_str(), 0604), 0);
  for (const unsigned flags : {kNamed, kUnique}) {
    directory_.write("file", "old");
    StagedSystemCalls staged;
    unsigned synced = 0;
    unsigned closed = 0;
    mode_t permissions = 0;
    std::string contents;
    std::string old;
    staged.before(SystemCall::Rename, [&] {
      synced = staged.calls(SystemCall::Fsync);
      closed = staged.calls(SystemCall::Close);
      permissions = directory_.permissions(temporary());
      contents = directory_.read(temporary());
      old = directory_.read("file");
    });
    EXPECT_EQ(write(flags), 0);
    EXPECT_EQ(synced, 1U);
    EXPECT_EQ(closed, 2U) << "the probe and the new file";
    EXPECT_EQ(permissions, 0604U);
    EXPECT_EQ(contents, kNewContents);
    EXPECT_EQ(old, "old");
    EXPECT_EQ(staged.calls(SystemCall::Fsync), 2U) << "the directory follows";
  }
}

TEST_F(FileFaults, WhatIsWrittenOverAPrivateFileIsNeverAnybodyElsesToRead) {
  ::umask(0);
  ASSERT_EQ(::chmod(directory_.path("file").c_str(), 0600), 0);
  for (const unsigned flags : {kNamed, kUnique}) {
    StagedSystemCalls staged;
    std::vector<mode_t> seen;
    const auto look = [&] { seen.push_back(directory_.permissions(temporary())); };
    for (const SystemCall call :
         {SystemCall::Write, SystemCall::Fchmod, SystemCall::Fsync, SystemCall::Rename})
      staged.before(call, look);
    EXPECT_EQ(write(flags), 0);
    EXPECT_EQ(seen, (std::vector<mode_t>(4, 0600)));
  }
}

TEST_F(FileFaults, ALinkThatCannotBeReadIsTakenForAFile) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Readlink, EACCES);
  EXPECT_EQ(write(kUnique), 0);
  EXPECT_EQ(directory_.read("file"), kNewContents);
}

TEST(HashKeys, AreMadeOfTimeAndPlaceWhereThereAreNoRandomBytes) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Open, ENOENT, StagedSystemCalls::kAll);
  const qvini_HashKey first = qvini_NewHashKey();
  EXPECT_NE(first.first, 0U);
  EXPECT_NE(first.second, 0U);
  const TestDocument document({"[s]", "k = v"});
  EXPECT_EQ(document.value("s", "k"), "v");
}

TEST(HashKeys, TakeNoHalfOfTheRandomBytes) {
  StagedSystemCalls staged;
  staged.shorten(SystemCall::Read, 8, StagedSystemCalls::kAll);
  const qvini_HashKey key = qvini_NewHashKey();
  EXPECT_NE(key.second, 0U);
  EXPECT_EQ(staged.calls(SystemCall::Close), 1U);
}

}  // namespace
