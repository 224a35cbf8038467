#include "kit/osdep/BinaryFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <filesystem>
#include <string>

#include "kit/exception/OutOfRange.h"
#include "kit/exception/PosixError.h"
#include "tests/Longs.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::tests::TemporaryDirectory;
using Endianness = BinaryFile::Endianness;
using Mode = BinaryFile::Mode;
using Origin = BinaryFile::Origin;

constexpr Mode kCreate = Mode::ReadWrite | Mode::Create;

std::string Bytes(const AutoBuffer& buffer) {
  return std::string(reinterpret_cast<const char*>(buffer.Data()), buffer.Len());
}

BufferWrapper Wrap(const std::string& bytes) {
  return BufferWrapper(bytes.data(), static_cast<std::uint32_t>(bytes.length()));
}

/// A buffer with something in it that must go.
AutoBuffer Used() {
  return AutoBuffer(Wrap("something else"));
}

/// Descriptors that the process has open.
std::ptrdiff_t OpenDescriptors() {
  using std::filesystem::directory_iterator;
  return std::distance(directory_iterator("/proc/self/fd"), directory_iterator());
}

class BinaryFileTest : public testing::Test {
 protected:
  /// A file with these contents, opened for reading and writing.
  BinaryFile& fileWith(const std::string& contents) {
    directory_.write("file", contents);
    file_.open(directory_.wide("file"), Mode::ReadWrite);
    return file_;
  }

  std::string contents() const { return directory_.read("file"); }

  const TemporaryDirectory directory_;
  BinaryFile file_;
};

TEST_F(BinaryFileTest, ModesHaveTheirFixedValues) {
  EXPECT_EQ(static_cast<unsigned>(Mode::Read), 1U);
  EXPECT_EQ(static_cast<unsigned>(Mode::Write), 2U);
  EXPECT_EQ(static_cast<unsigned>(Mode::ReadWrite), 4U);
  EXPECT_EQ(static_cast<unsigned>(Mode::Truncate), 8U);
  EXPECT_EQ(static_cast<unsigned>(Mode::Create), 16U);
  EXPECT_EQ(static_cast<unsigned>(Mode::Exclusive), 32U);
  EXPECT_EQ(static_cast<unsigned>(Endianness::LittleEndian), 0U);
}

TEST_F(BinaryFileTest, ModeReadAllowsReadingAlone) {
  directory_.write("file", "abc");
  file_.open(directory_.wide("file"), Mode::Read);
  char byte = 0;
  EXPECT_EQ(file_.read(&byte, 1), 1);
  EXPECT_EQ(byte, 'a');
  EXPECT_EQ(file_.write("x", 1), -1);
  EXPECT_EQ(errno, EBADF);
}

TEST_F(BinaryFileTest, ModeWriteAllowsWritingAloneAndKeepsTheRest) {
  directory_.write("file", "abc");
  file_.open(directory_.wide("file"), Mode::Write);
  char byte = 0;
  EXPECT_EQ(file_.read(&byte, 1), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(file_.write("x", 1), 1);
  EXPECT_EQ(contents(), "xbc");
}

TEST_F(BinaryFileTest, ModeReadWriteAllowsBoth) {
  fileWith("abc");
  char byte = 0;
  EXPECT_EQ(file_.read(&byte, 1), 1);
  EXPECT_EQ(file_.write("x", 1), 1);
  EXPECT_EQ(contents(), "axc");
}

TEST_F(BinaryFileTest, ModeReadBesideModeWriteAddsNothing) {
  directory_.write("file", "abc");
  file_.open(directory_.wide("file"), Mode::Read | Mode::Write);
  char byte = 0;
  EXPECT_EQ(file_.read(&byte, 1), -1);
  EXPECT_EQ(file_.write("x", 1), 1);
}

TEST_F(BinaryFileTest, ModeTruncateEmptiesTheFile) {
  directory_.write("file", "abc");
  file_.open(directory_.wide("file"), Mode::Write | Mode::Truncate);
  EXPECT_EQ(contents(), "");
}

TEST_F(BinaryFileTest, ModeCreateKeepsAFileThatIsThere) {
  directory_.write("file", "abc");
  file_.open(directory_.wide("file"), kCreate);
  EXPECT_EQ(contents(), "abc");
}

TEST_F(BinaryFileTest, ModeExclusiveCreatesOnlyWhereNothingIs) {
  directory_.write("file", "kept");
  directory_.makeLink("missing", "link");
  for (const char* name : {"file", "link"}) {
    EXPECT_EQ(file_.openNoThrow(directory_.wide(name), kCreate | Mode::Exclusive), -1);
    EXPECT_EQ(errno, EEXIST);
  }
  EXPECT_FALSE(directory_.has("missing"));
  EXPECT_EQ(file_.openNoThrow(directory_.wide("new"), kCreate | Mode::Exclusive), 0);
  EXPECT_TRUE(directory_.has("new"));
}

TEST_F(BinaryFileTest, WithoutModeCreateAMissingFileIsNoneAndStaysMissing) {
  EXPECT_EQ(file_.openNoThrow(directory_.wide("file"), Mode::ReadWrite), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(directory_.has("file"));
}

TEST_F(BinaryFileTest, FilesAreCreatedForTheirOwnerAloneUnderAnyUmask) {
  const mode_t before = ::umask(0);
  for (const mode_t mask : {0000U, 0022U, 0077U}) {
    ::umask(mask);
    const std::string name = "mask" + std::to_string(mask);
    BinaryFile(directory_.wide(name), Mode::Write | Mode::Create, false);
    EXPECT_EQ(directory_.permissions(name), 0600U);
  }
  ::umask(0200);
  BinaryFile(directory_.wide("masked"), Mode::Write | Mode::Create, false);
  EXPECT_EQ(directory_.permissions("masked"), 0400U) << "the umask still takes away";
  ::umask(before);
}

TEST_F(BinaryFileTest, OpeningAnOpenFileFailsWithEinvalAndKeepsTheFirst) {
  fileWith("abc");
  directory_.write("other", "xyz");
  errno = 0;
  EXPECT_EQ(file_.openNoThrow(directory_.wide("other"), Mode::Read), -1);
  EXPECT_EQ(errno, 22);
  EXPECT_THROW(file_.open(directory_.wide("other"), Mode::Read), PosixError);
  char byte = 0;
  EXPECT_EQ(file_.read(&byte, 1), 1);
  EXPECT_EQ(byte, 'a');
}

TEST_F(BinaryFileTest, OpenThrowsPosixErrorWithTheReason) {
  try {
    file_.open(directory_.wide("missing"), Mode::Read);
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(error.getErrorCode(), 7);
  }
}

TEST_F(BinaryFileTest, TheConstructorThrowsOnlyWhenItMay) {
  EXPECT_THROW(BinaryFile(directory_.wide("missing"), Mode::Read, false), PosixError);
  BinaryFile closed(directory_.wide("missing"), Mode::Read, true);
  EXPECT_EQ(errno, ENOENT);
  char byte = 0;
  EXPECT_EQ(closed.read(&byte, 1), -1);
}

TEST_F(BinaryFileTest, APathWithANullCharacterIsRefusedAndNothingIsCreated) {
  WString path = directory_.wide("file");
  path += L'\0';
  EXPECT_EQ(file_.openNoThrow(path, kCreate), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_FALSE(directory_.has("file"));
}

TEST_F(BinaryFileTest, TheDestructorCloses) {
  directory_.write("file");
  const auto before = OpenDescriptors();
  {
    BinaryFile file(directory_.wide("file"), Mode::Read, false);
    EXPECT_EQ(OpenDescriptors(), before + 1);
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(BinaryFileTest, AClosedFileCanBeClosedAndOpenedAgain) {
  fileWith("abc").close();
  file_.close();
  file_.open(directory_.wide("file"), Mode::Read);
  char byte = 0;
  EXPECT_EQ(file_.read(&byte, 1), 1);
}

TEST_F(BinaryFileTest, EveryOperationThatGivesANumberFailsWithEbadfOnAClosedFile) {
  char byte = 0;
  AutoBuffer buffer = Used();
  const auto expectRefused = [&](std::int32_t result) {
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, EBADF);
    errno = 0;
  };
  expectRefused(file_.read(&byte, 1));
  expectRefused(file_.read(&byte, 0));
  expectRefused(file_.write(&byte, 1));
  expectRefused(file_.read(buffer, 1));
  expectRefused(file_.seek(0, Origin::Start));
  expectRefused(file_.readExactSize(&byte, 1));
  expectRefused(file_.readExactSize(&byte, 0));
  expectRefused(file_.readExactSize(buffer, 1));
  expectRefused(file_.writeExactSize(&byte, 1));
  expectRefused(file_.readByteVector(buffer, Endianness::LittleEndian));
  expectRefused(file_.writeByteVector(Wrap("x"), Endianness::LittleEndian));
  EXPECT_EQ(Bytes(buffer), "something else");
}

TEST_F(BinaryFileTest, SyncAndResizeLeaveAClosedFileAlone) {
  EXPECT_NO_THROW(file_.sync());
  EXPECT_NO_THROW(file_.resize(1));
}

TEST_F(BinaryFileTest, ReadGivesWhatIsLeftAndThenNothing) {
  fileWith("abcde");
  char bytes[4] = {};
  EXPECT_EQ(file_.read(bytes, 4), 4);
  EXPECT_EQ(std::string(bytes, 4), "abcd");
  EXPECT_EQ(file_.read(bytes, 4), 1);
  EXPECT_EQ(bytes[0], 'e');
  EXPECT_EQ(file_.read(bytes, 4), 0);
}

TEST_F(BinaryFileTest, ReadIntoABufferCutsItToWhatWasRead) {
  fileWith("abcde");
  AutoBuffer buffer = Used();
  EXPECT_EQ(file_.read(buffer, 3), 3);
  EXPECT_EQ(Bytes(buffer), "abc");
  EXPECT_EQ(file_.read(buffer, 100), 2);
  EXPECT_EQ(Bytes(buffer), "de");
  EXPECT_EQ(file_.read(buffer, 100), 0);
  EXPECT_EQ(Bytes(buffer), "");
}

TEST_F(BinaryFileTest, ReadIntoABufferLeavesCopiesOfItAlone) {
  fileWith("abc");
  AutoBuffer buffer = Used();
  const AutoBuffer copy = buffer;
  EXPECT_EQ(file_.read(buffer, 3), 3);
  EXPECT_EQ(Bytes(buffer), "abc");
  EXPECT_EQ(Bytes(copy), "something else");
}

TEST_F(BinaryFileTest, AFailedReadLeavesTheBufferEmptyAndTellsTheReason) {
  file_.open(directory_.wide(), Mode::Read);
  AutoBuffer buffer = Used();
  EXPECT_EQ(file_.read(buffer, 4), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(buffer.Len(), 0U);
}

TEST_F(BinaryFileTest, ASingleTransferThatItsResultCannotExpressIsRefused) {
  fileWith("abc");
  char byte = 'x';
  AutoBuffer buffer = Used();
  for (const std::uint32_t length : {0x80000000U, 0xFFFFFFFFU}) {
    errno = 0;
    EXPECT_EQ(file_.read(&byte, length), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(file_.read(buffer, length), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(file_.write(&byte, length), -1);
    EXPECT_EQ(errno, EINVAL);
  }
  EXPECT_EQ(Bytes(buffer), "something else");
  EXPECT_EQ(file_.seek(0, Origin::Current), 0);
  EXPECT_EQ(contents(), "abc");
}

TEST_F(BinaryFileTest, SeekCountsFromStartPositionAndEnd) {
  fileWith("abcde");
  EXPECT_EQ(file_.seek(2, Origin::Start), 2);
  EXPECT_EQ(file_.seek(1, Origin::Current), 3);
  EXPECT_EQ(file_.seek(-2, Origin::Current), 1);
  EXPECT_EQ(file_.seek(-1, Origin::End), 4);
  EXPECT_EQ(file_.seek(3, Origin::End), 8);
}

TEST_F(BinaryFileTest, SeekBeforeTheStartFailsAndKeepsThePosition) {
  fileWith("abcde");
  file_.seek(2, Origin::Start);
  EXPECT_EQ(file_.seek(-3, Origin::Current), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(file_.seek(0, Origin::Current), 2);
}

TEST_F(BinaryFileTest, SeekReachesTheLargestPositionThatItsResultCanExpress) {
  fileWith("");
  EXPECT_EQ(file_.seek(0x7FFFFFFF, Origin::Start), 0x7FFFFFFF);
}

TEST_F(BinaryFileTest, SeekBeyondItFailsWithEoverflowAndKeepsThePosition) {
  fileWith("abc");
  file_.seek(0x7FFFFFFF, Origin::Start);
  errno = 0;
  EXPECT_EQ(file_.seek(1, Origin::Current), -1);
  EXPECT_EQ(errno, EOVERFLOW);
  EXPECT_EQ(file_.seek(0, Origin::Current), 0x7FFFFFFF);
}

TEST_F(BinaryFileTest, SeekToTheEndOfAHugeFileFailsWithEoverflowAndKeepsThePosition) {
  fileWith("abc").resize(0xFFFFFFFFU);
  file_.seek(2, Origin::Start);
  EXPECT_EQ(file_.seek(0, Origin::End), -1);
  EXPECT_EQ(errno, EOVERFLOW);
  EXPECT_EQ(file_.seek(0, Origin::Current), 2);
}

TEST_F(BinaryFileTest, SeekTakesAnOffsetOf32BitsAndRefusesAnyOther) {
  fileWith("abc");
  for (const auto offset : LongsAroundTheLimits<long>()) {
    file_.seek(1, Origin::Start);
    const bool reaches = FitsInt32(offset) && offset >= 0;
    errno = 0;
    EXPECT_EQ(file_.seek(offset, Origin::Start), reaches ? offset : -1);
    EXPECT_EQ(errno, reaches ? 0 : FitsInt32(offset) ? EINVAL : EOVERFLOW) << offset;
    EXPECT_EQ(file_.seek(0, Origin::Current), reaches ? offset : 1);
  }
}

TEST_F(BinaryFileTest, SeekFailsOnAPipe) {
  ASSERT_EQ(::mkfifo(directory_.path("fifo").c_str(), 0600), 0);
  file_.open(directory_.wide("fifo"), Mode::ReadWrite);
  EXPECT_EQ(file_.seek(0, Origin::Start), -1);
  EXPECT_EQ(errno, ESPIPE);
}

TEST_F(BinaryFileTest, ResizeCutsAndFillsUpWithZeros) {
  fileWith("abcde");
  file_.resize(2);
  EXPECT_EQ(contents(), "ab");
  file_.resize(4);
  EXPECT_EQ(contents(), std::string("ab\0\0", 4));
}

TEST_F(BinaryFileTest, ResizeTakesTheLengthAsUnsigned) {
  fileWith("").resize(0xFFFFFFFFU);
  EXPECT_EQ(std::filesystem::file_size(directory_.path("file")), 0xFFFFFFFFU);
}

TEST_F(BinaryFileTest, ResizeThrowsPosixErrorOnAFileOpenedForReading) {
  directory_.write("file", "abc");
  file_.open(directory_.wide("file"), Mode::Read);
  try {
    file_.resize(1);
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EINVAL));
  }
  EXPECT_EQ(contents(), "abc");
}

TEST_F(BinaryFileTest, SyncThrowsPosixErrorOnAPipe) {
  ASSERT_EQ(::mkfifo(directory_.path("fifo").c_str(), 0600), 0);
  file_.open(directory_.wide("fifo"), Mode::ReadWrite);
  try {
    file_.sync();
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EINVAL));
  }
}

TEST_F(BinaryFileTest, SyncOfAFileSucceeds) {
  EXPECT_NO_THROW(fileWith("abc").sync());
}

TEST_F(BinaryFileTest, AnExactReadGivesItsLength) {
  fileWith("abcde");
  char bytes[4] = {};
  EXPECT_EQ(file_.readExactSize(bytes, 4), 4);
  EXPECT_EQ(std::string(bytes, 4), "abcd");
  EXPECT_EQ(file_.seek(0, Origin::Current), 4);
}

TEST_F(BinaryFileTest, AnExactReadOfNothingGivesZeroEvenAtTheEnd) {
  fileWith("");
  EXPECT_EQ(file_.readExactSize(nullptr, 0), 0);
  AutoBuffer buffer = Used();
  EXPECT_EQ(file_.readExactSize(buffer, 0), 0);
  EXPECT_EQ(buffer.Len(), 0U);
}

TEST_F(BinaryFileTest, AnExactReadThatMeetsTheEndLeavesThePositionWhereItWas) {
  fileWith("abcde");
  file_.seek(2, Origin::Start);
  char bytes[4] = {};
  errno = EIO;
  EXPECT_EQ(file_.readExactSize(bytes, 4), -1);
  EXPECT_EQ(errno, 0) << "the end of the file is no error of the system";
  EXPECT_EQ(file_.seek(0, Origin::Current), 2);
}

TEST_F(BinaryFileTest, AnExactReadIntoABufferHoldsJustThoseBytes) {
  fileWith("abcde");
  AutoBuffer buffer = Used();
  EXPECT_EQ(file_.readExactSize(buffer, 3), 3);
  EXPECT_EQ(Bytes(buffer), "abc");
}

TEST_F(BinaryFileTest, AFailedExactReadIntoABufferLeavesItEmpty) {
  fileWith("abcde");
  AutoBuffer buffer = Used();
  EXPECT_EQ(file_.readExactSize(buffer, 6), -1);
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(file_.seek(0, Origin::Current), 0);
}

TEST_F(BinaryFileTest, AnExactReadWorksBeyondThePositionsThatSeekCanExpress) {
  fileWith("").resize(0x80000010U);
  file_.seek(0x7FFFFFFF, Origin::Start);
  char bytes[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(file_.readExactSize(bytes, 4), 4);
  EXPECT_EQ(std::string(bytes, 4), std::string(4, '\0'));
  char more[32];
  EXPECT_EQ(file_.readExactSize(more, 32), -1);
  EXPECT_EQ(file_.readExactSize(more, 13), 13) << "the failed read took nothing";
}

TEST_F(BinaryFileTest, ExactTransfersOf2To31BytesAndMoreThrowAndDoNothing) {
  fileWith("abc");
  char byte = 'x';
  AutoBuffer buffer = Used();
  EXPECT_THROW(file_.readExactSize(&byte, 0x80000000U), exception::OutOfRange);
  EXPECT_THROW(file_.readExactSize(buffer, 0x80000000U), exception::OutOfRange);
  EXPECT_THROW(file_.writeExactSize(&byte, 0x80000000U), exception::OutOfRange);
  EXPECT_THROW(file_.writeExactSize(&byte, 0xFFFFFFFFU), exception::OutOfRange);
  EXPECT_EQ(byte, 'x');
  EXPECT_EQ(Bytes(buffer), "something else");
  EXPECT_EQ(contents(), "abc");
  EXPECT_EQ(file_.seek(0, Origin::Current), 0);
}

TEST_F(BinaryFileTest, AnExactWriteGivesItsLength) {
  fileWith("");
  EXPECT_EQ(file_.writeExactSize("abcd", 4), 4);
  EXPECT_EQ(file_.writeExactSize(nullptr, 0), 0);
  EXPECT_EQ(contents(), "abcd");
}

TEST_F(BinaryFileTest, AnExactWriteToAFullDiskFailsWithItsReason) {
  file_.open(L"/dev/full", Mode::Write);
  EXPECT_EQ(file_.writeExactSize("abcd", 4), -1);
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(BinaryFileTest, ABlockIsItsLengthInFourBytesAndItsBytes) {
  fileWith("");
  EXPECT_EQ(file_.writeByteVector(Wrap("abc"), Endianness::LittleEndian), 7);
  EXPECT_EQ(file_.writeByteVector(Wrap("de"), Endianness::BigEndian), 6);
  EXPECT_EQ(file_.writeByteVector(Wrap(""), Endianness::LittleEndian), 4);
  EXPECT_EQ(contents(), std::string("\3\0\0\0abc\0\0\0\2de\0\0\0\0", 17));
}

TEST_F(BinaryFileTest, ABlockIsReadBackInEitherOrder) {
  fileWith(std::string("\3\0\0\0abc\0\0\0\2de\0\0\0\0", 17));
  AutoBuffer buffer = Used();
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::LittleEndian), 7);
  EXPECT_EQ(Bytes(buffer), "abc");
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::BigEndian), 6);
  EXPECT_EQ(Bytes(buffer), "de");
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::LittleEndian), 4);
  EXPECT_EQ(Bytes(buffer), "");
}

TEST_F(BinaryFileTest, EveryOrderButTheOneWithValueZeroIsBigEndian) {
  fileWith("");
  EXPECT_EQ(file_.writeByteVector(Wrap("a"), static_cast<Endianness>(7)), 5);
  EXPECT_EQ(contents(), std::string("\0\0\0\1a", 5));
}

TEST_F(BinaryFileTest, LongBlocksKeepEveryByteOfTheirLength) {
  fileWith("");
  const std::string bytes(0x010203, 'b');
  EXPECT_EQ(file_.writeByteVector(Wrap(bytes), Endianness::LittleEndian), 0x010207);
  EXPECT_EQ(contents().substr(0, 4), std::string("\3\2\1\0", 4));
  file_.seek(0, Origin::Start);
  AutoBuffer buffer;
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::LittleEndian), 0x010207);
  EXPECT_EQ(Bytes(buffer), bytes);
}

TEST_F(BinaryFileTest, ABlockWhoseResultWouldNotFitIsRefusedAndThePositionGoesBack) {
  for (const std::string& prefix :
       {std::string("\0\0\0\x80", 4), std::string("\xFF\xFF\xFF\xFF", 4),
        std::string("\xFF\xFF\xFF\x7F", 4), std::string("\xFC\xFF\xFF\x7F", 4)}) {
    fileWith("x" + prefix + "abc");
    file_.seek(1, Origin::Start);
    AutoBuffer buffer;
    errno = 0;
    EXPECT_EQ(file_.readByteVector(buffer, Endianness::LittleEndian), -1);
    EXPECT_EQ(errno, EOVERFLOW);
    EXPECT_EQ(file_.seek(0, Origin::Current), 1);
    file_.close();
  }
}

TEST_F(BinaryFileTest, ABlockThatEndsEarlyLeavesThePositionWhereItWas) {
  fileWith(std::string("x\5\0\0\0abc", 8));
  file_.seek(1, Origin::Start);
  AutoBuffer buffer = Used();
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::LittleEndian), -1);
  EXPECT_EQ(file_.seek(0, Origin::Current), 1);
  EXPECT_EQ(buffer.Len(), 0U);
}

TEST_F(BinaryFileTest, APrefixThatEndsEarlyLeavesThePositionWhereItWas) {
  fileWith(std::string("x\5\0\0", 4));
  file_.seek(1, Origin::Start);
  AutoBuffer buffer;
  EXPECT_EQ(file_.readByteVector(buffer, Endianness::LittleEndian), -1);
  EXPECT_EQ(file_.seek(0, Origin::Current), 1);
}

TEST_F(BinaryFileTest, ABlockTooLongForItsResultIsNotWritten) {
  fileWith("");
  char byte = 0;
  for (const std::uint32_t length : {0x7FFFFFFCU, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    errno = 0;
    EXPECT_EQ(file_.writeByteVector(BufferWrapper(&byte, length), Endianness::LittleEndian), -1);
    EXPECT_EQ(errno, EOVERFLOW);
  }
  EXPECT_EQ(contents(), "");
}

TEST_F(BinaryFileTest, ABlockThatCannotBeWrittenGivesMinusOne) {
  file_.open(L"/dev/full", Mode::Write);
  EXPECT_EQ(file_.writeByteVector(Wrap("abc"), Endianness::LittleEndian), -1);
  EXPECT_EQ(errno, ENOSPC);
}

}  // namespace
