#include "kit/osdep/BinaryFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>

#include "kit/exception/PosixError.h"
#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::tests::FailingAllocator;
using qv::tests::StagedSystemCalls;
using qv::tests::SystemCall;
using qv::tests::TemporaryDirectory;
using Endianness = BinaryFile::Endianness;
using Mode = BinaryFile::Mode;
using Origin = BinaryFile::Origin;

class BinaryFileFault : public testing::Test {
 protected:
  BinaryFile& fileWith(const std::string& contents) {
    directory_.write("file", contents);
    file_.open(directory_.wide("file"), Mode::ReadWrite);
    return file_;
  }

  const TemporaryDirectory directory_;
  BinaryFile file_;
  StagedSystemCalls staged_;
};

TEST_F(BinaryFileFault, OpenRepeatsAnInterruptedCall) {
  staged_.fail(SystemCall::Open, EINTR, 3);
  EXPECT_EQ(file_.openNoThrow(directory_.wide("file"), Mode::Write | Mode::Create), 0);
  EXPECT_EQ(staged_.calls(SystemCall::Open), 4U);
  EXPECT_EQ(directory_.permissions("file"), 0600U);
}

TEST_F(BinaryFileFault, OpenTellsAnyOtherError) {
  for (const int code : {EACCES, EMFILE, ENOSPC, EROFS}) {
    staged_.fail(SystemCall::Open, code, 2);
    EXPECT_EQ(file_.openNoThrow(directory_.wide("file"), Mode::Read), -1);
    EXPECT_EQ(errno, code);
    try {
      file_.open(directory_.wide("file"), Mode::Read);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const PosixError& error) {
      EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(code));
    }
  }
}

TEST_F(BinaryFileFault, CloseRepeatsAnInterruptedCall) {
  fileWith("abc");
  staged_.fail(SystemCall::Close, EINTR, 2);
  file_.close();
  EXPECT_EQ(staged_.calls(SystemCall::Close), 3U);
}

TEST_F(BinaryFileFault, CloseThatFailsLeavesTheFileClosed) {
  fileWith("abc");
  staged_.fail(SystemCall::Close, EIO);
  file_.close();
  EXPECT_EQ(file_.seek(0, Origin::Start), -1);
  EXPECT_EQ(errno, EBADF);
  file_.close();
  EXPECT_EQ(staged_.calls(SystemCall::Close), 1U);
}

TEST_F(BinaryFileFault, CloseTellsWhyItFailedAndSucceedsAfterAnInterruption) {
  fileWith("abc");
  staged_.fail(SystemCall::Close, EIO);
  EXPECT_EQ(file_.close(), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(file_.close(), 0);
  fileWith("abc");
  staged_.fail(SystemCall::Close, EINTR);
  EXPECT_EQ(file_.close(), 0);
}

TEST_F(BinaryFileFault, CloseSucceedsWhereTheInterruptedCallClosedTheFile) {
  fileWith("abc");
  staged_.fail(SystemCall::Close, EINTR);
  staged_.fail(SystemCall::Close, EBADF, 1, 2);
  EXPECT_EQ(file_.close(), 0);
}

TEST_F(BinaryFileFault, CloseTellsThatTheFileWasClosedBehindItsBack) {
  fileWith("abc");
  staged_.fail(SystemCall::Close, EBADF);
  EXPECT_EQ(file_.close(), -1);
}

TEST_F(BinaryFileFault, ASingleReadOrWriteIsOneCall) {
  fileWith("abc");
  char byte = 0;
  staged_.fail(SystemCall::Read, EINTR);
  EXPECT_EQ(file_.read(&byte, 1), -1);
  EXPECT_EQ(errno, EINTR);
  staged_.fail(SystemCall::Write, EINTR);
  EXPECT_EQ(file_.write(&byte, 1), -1);
  EXPECT_EQ(errno, EINTR);
  staged_.shorten(SystemCall::Read, 2);
  char bytes[3];
  EXPECT_EQ(file_.read(bytes, 3), 2);
}

TEST_F(BinaryFileFault, SyncRepeatsAnInterruptedCallAndThrowsOtherErrors) {
  fileWith("abc");
  staged_.fail(SystemCall::Fsync, EINTR, 2);
  EXPECT_NO_THROW(file_.sync());
  EXPECT_EQ(staged_.calls(SystemCall::Fsync), 3U);
  staged_.fail(SystemCall::Fsync, EIO);
  try {
    file_.sync();
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EIO));
  }
}

TEST_F(BinaryFileFault, ResizeRepeatsAnInterruptedCallAndThrowsOtherErrors) {
  fileWith("abc");
  staged_.fail(SystemCall::Ftruncate, EINTR, 2);
  file_.resize(1);
  EXPECT_EQ(directory_.read("file"), "a");
  staged_.fail(SystemCall::Ftruncate, EFBIG);
  try {
    file_.resize(2);
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EFBIG));
  }
}

TEST_F(BinaryFileFault, AnExactReadGoesOnAfterShortAndInterruptedReads) {
  fileWith("abcdefgh");
  staged_.shorten(SystemCall::Read, 3, 5);
  staged_.fail(SystemCall::Read, EINTR, 2, 2);
  char bytes[8];
  EXPECT_EQ(file_.readExactSize(bytes, 8), 8);
  EXPECT_EQ(std::string(bytes, 8), "abcdefgh");
  EXPECT_EQ(staged_.calls(SystemCall::Read), 5U);
}

TEST_F(BinaryFileFault, AnExactReadThatFailsMovesBackAndTellsTheReason) {
  fileWith("xabcdefgh");
  file_.seek(1, Origin::Start);
  staged_.shorten(SystemCall::Read, 3);
  staged_.fail(SystemCall::Read, EIO, 1, 2);
  char bytes[8];
  EXPECT_EQ(file_.readExactSize(bytes, 8), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(file_.seek(0, Origin::Current), 1);
}

TEST_F(BinaryFileFault, AnExactReadThatFailsAtOnceDoesNotMoveBack) {
  fileWith("abc");
  staged_.fail(SystemCall::Read, EIO);
  char byte = 0;
  EXPECT_EQ(file_.readExactSize(&byte, 1), -1);
  EXPECT_EQ(staged_.calls(SystemCall::Lseek), 0U);
}

TEST_F(BinaryFileFault, AnExactReadLeavesNoReasonForAnEarlyEndAfterAnInterruption) {
  fileWith("abc");
  char bytes[4];
  staged_.fail(SystemCall::Read, EINTR, 1, 2);
  EXPECT_EQ(file_.readExactSize(bytes, 4), -1);
  EXPECT_EQ(errno, 0);
  EXPECT_EQ(file_.seek(0, Origin::Current), 0);
}

TEST_F(BinaryFileFault, TheReasonOutlivesAWayBackThatFails) {
  fileWith("abc");
  staged_.shorten(SystemCall::Read, 1);
  staged_.fail(SystemCall::Read, EIO, 1, 2);
  staged_.fail(SystemCall::Lseek, ESPIPE);
  char bytes[2];
  EXPECT_EQ(file_.readExactSize(bytes, 2), -1);
  EXPECT_EQ(errno, EIO);
}

TEST_F(BinaryFileFault, AnExactWriteGoesOnAfterShortAndInterruptedWrites) {
  fileWith("");
  staged_.shorten(SystemCall::Write, 3, 5);
  staged_.fail(SystemCall::Write, EINTR, 2, 2);
  EXPECT_EQ(file_.writeExactSize("abcdefgh", 8), 8);
  EXPECT_EQ(directory_.read("file"), "abcdefgh");
  EXPECT_EQ(staged_.calls(SystemCall::Write), 5U);
}

TEST_F(BinaryFileFault, AnExactWriteThatFailsLaterGivesMinusOne) {
  fileWith("");
  staged_.shorten(SystemCall::Write, 3);
  staged_.fail(SystemCall::Write, ENOSPC, 1, 2);
  EXPECT_EQ(file_.writeExactSize("abcdefgh", 8), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(directory_.read("file"), "abc");
}

TEST_F(BinaryFileFault, AnExactWriteComesToAnEndOnAFileThatTakesNothing) {
  fileWith("");
  staged_.shorten(SystemCall::Write, 0, StagedSystemCalls::kAll);
  EXPECT_EQ(file_.writeExactSize("abc", 3), -1);
  EXPECT_EQ(errno, EIO);
}

TEST_F(BinaryFileFault, ABlockWhoseBytesCannotBeReadLeavesThePositionWhereItWas) {
  fileWith(std::string("x\3\0\0\0abc", 8));
  file_.seek(1, Origin::Start);
  staged_.fail(SystemCall::Read, EIO, 1, 2);
  AutoBuffer buffer;
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::LittleEndian), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(file_.seek(0, Origin::Current), 1);
}

TEST_F(BinaryFileFault, ABlockIsReadAndWrittenThroughInterruptions) {
  fileWith("");
  staged_.fail(SystemCall::Write, EINTR, 1, 2);
  EXPECT_EQ(file_.writeByteVector(BufferWrapper("abc", 3U), Endianness::BigEndian), 7);
  file_.seek(0, Origin::Start);
  staged_.fail(SystemCall::Read, EINTR, 1, 2);
  AutoBuffer buffer;
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::BigEndian), 7);
}

TEST_F(BinaryFileFault, ThereIsNoWayBackForABlockHalfWritten) {
  fileWith("");
  staged_.fail(SystemCall::Write, ENOSPC, 1, 2);
  EXPECT_EQ(file_.writeByteVector(BufferWrapper("abc", 3U), Endianness::LittleEndian), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(directory_.read("file"), std::string("\3\0\0\0", 4));
}

TEST_F(BinaryFileFault, ABlockThatFindsNoMemoryLeavesThePositionWhereItWas) {
  fileWith(std::string("x\0\0\1\0abc", 8));
  file_.seek(1, Origin::Start);
  AutoBuffer buffer;
  std::int32_t result = 0;
  int error = 0;
  {
    FailingAllocator allocator;
    allocator.FailSizesFrom(0x10000);
    result = file_.readByteVector(buffer, Endianness::LittleEndian);
    error = errno;
  }
  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, ENOMEM);
  EXPECT_EQ(file_.seek(0, Origin::Current), 1);
}

TEST_F(BinaryFileFault, AnExactReadThatFindsNoMemoryThrowsAndReadsNothing) {
  fileWith("abc");
  AutoBuffer buffer;
  FailingAllocator allocator;
  allocator.FailSizesFrom(0x10000);
  EXPECT_THROW(file_.readExactSize(buffer, 0x10000), std::bad_alloc);
  EXPECT_THROW(file_.read(buffer, 0x10000), std::bad_alloc);
  EXPECT_EQ(staged_.calls(SystemCall::Read), 0U);
}

TEST_F(BinaryFileFault, OpenWithoutLeaveToThrowTellsThatMemoryRanOut) {
  const WString path = directory_.wide("file");
  std::int32_t result = 0;
  int error = 0;
  {
    FailingAllocator allocator;
    allocator.FailFrom(1);
    result = file_.openNoThrow(path, Mode::Write | Mode::Create);
    error = errno;
  }
  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, ENOMEM);
  EXPECT_FALSE(directory_.has("file"));
}

TEST_F(BinaryFileFault, SeekTellsWhatTheSystemSays) {
  fileWith("abc");
  staged_.fail(SystemCall::Lseek, EIO, StagedSystemCalls::kAll);
  EXPECT_EQ(file_.seek(1, Origin::Start), -1);
  EXPECT_EQ(errno, EIO);
}

}  // namespace
