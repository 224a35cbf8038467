#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string>

#include "qvini/qvini.h"
#include "tests/doubles/InChild.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/qvini/safewrite/Writer.h"

using qv::tests::InChild;
using qv::tests::kFixedName;
using qv::tests::kOld;
using qv::tests::kUniqueName;
using qv::tests::NamesBeside;
using qv::tests::ScopedUmask;
using qv::tests::TemporaryDirectory;
using qv::tests::Writer;
using testing::IsEmpty;

namespace {

/// Writing as a user whom permissions bind.
int WriteAsNobody(const Writer& writer, const std::string& path) {
  constexpr uid_t kNobody = 65534;
  return InChild([&] {
    if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
      throw std::runtime_error("this user stays who it is");
    }
    return writer.write(path);
  });
}

/// Writing on a disk that takes files of one block only.
int WriteWithRoomFor(rlim_t bytes, const Writer& writer, const std::string& path) {
  return InChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("no limit");
    return writer.write(path);
  });
}

class WriteTargets : public testing::TestWithParam<unsigned> {
 protected:
  TemporaryDirectory directory_;
  Writer writer_{GetParam()};
  std::string target_ = directory_.path("target.ini");
};

class SafeWriteTargets : public WriteTargets {};

}  // namespace

TEST_P(WriteTargets, AFileIsReplacedAndKeepsItsPermissionsWhateverTheUmask) {
  for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
    const ScopedUmask umask(mask);
    for (const mode_t mode : {0600U, 0640U, 0644U, 0666U, 0777U}) {
      directory_.write("target.ini", kOld);
      ASSERT_EQ(::chmod(target_.c_str(), mode), 0);
      ASSERT_EQ(writer_.write(target_), 0);
      EXPECT_EQ(directory_.read("target.ini"), writer_.text());
      EXPECT_EQ(directory_.permissions("target.ini"), mode);
      EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
    }
    ASSERT_EQ(::unlink(target_.c_str()), 0);
  }
}

TEST_P(WriteTargets, ANewFileIsReadableForAllFromAUniqueNameAndAsTheUmaskAllowsOtherwise) {
  for (const mode_t mask : {0U, 022U, 027U, 077U}) {
    const ScopedUmask umask(mask);
    ASSERT_EQ(writer_.write(target_), 0);
    EXPECT_EQ(directory_.read("target.ini"), writer_.text());
    EXPECT_EQ(directory_.permissions("target.ini"),
              GetParam() == kUniqueName ? 0644U : 0666U & ~mask);
    EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
    ASSERT_EQ(::unlink(target_.c_str()), 0);
  }
}

TEST_P(WriteTargets, ADirectoryIsNoTarget) {
  directory_.makeDirectory("target.ini/inner");
  EXPECT_EQ(writer_.write(target_), GetParam() == 0 ? kIniOpenForWritingFailed : kIniNotWritable);
  EXPECT_TRUE(directory_.has("target.ini/inner"));
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
}

TEST_P(WriteTargets, AMissingDirectoryIsNotMade) {
  EXPECT_EQ(writer_.write(directory_.path("missing/target.ini")),
            GetParam() == 0 ? kIniOpenForWritingFailed : kIniNotWritable);
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
}

TEST_P(WriteTargets, ALinkStaysAndTheFileThatItLeadsToIsWritten) {
  directory_.makeDirectory("elsewhere");
  directory_.write("elsewhere/file.conf", kOld);
  ASSERT_EQ(::chmod(directory_.path("elsewhere/file.conf").c_str(), 0640), 0);
  directory_.makeLink("elsewhere/second", "target.ini");
  directory_.makeLink("file.conf", "elsewhere/second");
  ASSERT_EQ(writer_.write(target_), 0);
  EXPECT_EQ(directory_.read("elsewhere/file.conf"), writer_.text());
  EXPECT_EQ(directory_.permissions("elsewhere/file.conf"), 0640U);
  EXPECT_EQ(std::filesystem::read_symlink(target_), "elsewhere/second");
  EXPECT_EQ(std::filesystem::read_symlink(directory_.path("elsewhere/second")), "file.conf");
  EXPECT_FALSE(directory_.has("elsewhere/file.TMP"));
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), testing::ElementsAre("elsewhere"));
  EXPECT_STREQ(writer_.document()->path, target_.c_str());
}

TEST_P(WriteTargets, ALinkThatLeadsNowhereEndsAsALinkToANewFileOrIsRefused) {
  directory_.makeLink("missing.ini", "target.ini");
  const int result = writer_.write(target_);
  EXPECT_EQ(std::filesystem::read_symlink(target_), "missing.ini");
  if (result == 0) {
    EXPECT_EQ(directory_.read("missing.ini"), writer_.text());
    EXPECT_THAT(NamesBeside(directory_, "target.ini"), testing::ElementsAre("missing.ini"));
  } else {
    EXPECT_EQ(result, kIniNotWritable);
    EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
  }
}

TEST_P(WriteTargets, ALinkToItselfIsNoTarget) {
  directory_.makeLink("target.ini", "target.ini");
  EXPECT_EQ(writer_.write(target_), GetParam() == 0 ? kIniOpenForWritingFailed : kIniNotWritable);
  EXPECT_EQ(std::filesystem::read_symlink(target_), "target.ini");
}

TEST_P(WriteTargets, AFileThatMustNotBeWrittenIsLeft) {
  directory_.write("target.ini", kOld);
  ASSERT_EQ(::chmod(target_.c_str(), 0444), 0);
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0777), 0);
  EXPECT_EQ(WriteAsNobody(writer_, target_),
            GetParam() == 0 ? kIniOpenForWritingFailed : kIniNotWritable);
  EXPECT_EQ(directory_.read("target.ini"), kOld);
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
}

TEST_P(WriteTargets, ADirectoryThatMustNotBeWrittenGetsNoNewFile) {
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0555), 0);
  EXPECT_EQ(WriteAsNobody(writer_, target_),
            GetParam() == 0 ? kIniOpenForWritingFailed : kIniNotWritable);
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0755), 0);
  EXPECT_THAT(NamesBeside(directory_, ""), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Flags, WriteTargets, testing::Values(0U, kFixedName, kUniqueName));

TEST_P(SafeWriteTargets, AWritableFileInADirectoryThatIsNotIsLeft) {
  directory_.write("target.ini", kOld);
  ASSERT_EQ(::chmod(target_.c_str(), 0666), 0);
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0555), 0);
  EXPECT_EQ(WriteAsNobody(writer_, target_),
            GetParam() == kFixedName ? kIniOpenForWritingFailed : kIniTemporaryFileFailed);
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0755), 0);
  EXPECT_EQ(directory_.read("target.ini"), kOld);
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
}

TEST_P(SafeWriteTargets, ADiskThatFillsUpOnTheWayKeepsTheOldContent) {
  for (const std::size_t room :
       {std::size_t{0}, std::size_t{1}, std::size_t{4096}, writer_.text().size() - 1}) {
    directory_.write("target.ini", kOld);
    EXPECT_EQ(WriteWithRoomFor(room, writer_, target_), kIniFlushFailed) << room;
    EXPECT_EQ(directory_.read("target.ini"), kOld);
    EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
  }
  EXPECT_EQ(WriteWithRoomFor(writer_.text().size(), writer_, target_), 0);
  EXPECT_EQ(directory_.read("target.ini"), writer_.text());
}

TEST_P(SafeWriteTargets, AnEntryThatCannotBeWrappedKeepsTheOldContent) {
  directory_.write("target.ini", kOld);
  writer_.document()->maxLineLength = 12;
  EXPECT_EQ(writer_.write(target_), kIniCannotWrap);
  EXPECT_EQ(directory_.read("target.ini"), kOld);
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
  EXPECT_STREQ(writer_.document()->path, "");
}

// No device: a writer that fails this test, run as root, would replace one of the system's.
TEST_P(SafeWriteTargets, APipeIsNoTarget) {
  ASSERT_EQ(::mkfifo(target_.c_str(), 0600), 0);
  EXPECT_EQ(writer_.write(target_), kIniNotWritable);
  EXPECT_TRUE(std::filesystem::is_fifo(target_));
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
}

TEST_P(SafeWriteTargets, AnotherNameOfTheFileKeepsTheOldContent) {
  directory_.write("target.ini", kOld);
  ASSERT_EQ(::link(target_.c_str(), directory_.path("other.ini").c_str()), 0);
  ASSERT_EQ(writer_.write(target_), 0);
  EXPECT_EQ(directory_.read("target.ini"), writer_.text());
  EXPECT_EQ(directory_.read("other.ini"), kOld);
}

TEST_P(SafeWriteTargets, AFileReachedThroughARelativePathIsReplaced) {
  const int result = InChild([&] {
    if (::chdir(directory_.path().c_str()) != 0) throw std::runtime_error("no directory");
    return writer_.write("target.ini");
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(directory_.read("target.ini"), writer_.text());
  EXPECT_THAT(NamesBeside(directory_, "target.ini"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Flags, SafeWriteTargets, testing::Values(kFixedName, kUniqueName));

TEST(SafeWriteFixedName, WhateverHasTheNameOfTheTemporaryFileIsLostAndWhereItLeadsIsNot) {
  const TemporaryDirectory directory;
  const Writer writer(kFixedName);
  directory.write("precious", "kept");
  directory.makeLink("precious", "target.TMP");
  ASSERT_EQ(writer.write(directory.path("target.ini")), 0);
  EXPECT_EQ(directory.read("precious"), "kept");
  EXPECT_EQ(directory.read("target.ini"), writer.text());
  EXPECT_FALSE(directory.has("target.TMP"));
  EXPECT_TRUE(std::filesystem::is_regular_file(
      std::filesystem::symlink_status(directory.path("target.ini"))));
}

TEST(WriteInPlace, ADeviceThatIsFullGivesFlushFailed) {
  EXPECT_EQ(Writer(0).write("/dev/full"), kIniFlushFailed);
}

TEST(WriteInPlace, ADiskThatFillsUpOnTheWayGivesFlushFailed) {
  const TemporaryDirectory directory;
  EXPECT_EQ(WriteWithRoomFor(4096, Writer(0), directory.path("target.ini")), kIniFlushFailed);
}

TEST(WriteInPlace, AllNamesOfTheFileShowTheNewContent) {
  const TemporaryDirectory directory;
  directory.write("target.ini", kOld);
  ASSERT_EQ(::link(directory.path("target.ini").c_str(), directory.path("other.ini").c_str()), 0);
  const Writer writer(0);
  ASSERT_EQ(writer.write(directory.path("target.ini")), 0);
  EXPECT_EQ(directory.read("other.ini"), writer.text());
}

TEST(ReadTargets, ADirectoryIsOpenedAndCannotBeRead) {
  const TemporaryDirectory directory;
  const Writer writer(0);
  EXPECT_EQ(IniReadFromFile(writer.document(), directory.path().c_str()), kIniReadFailed);
  EXPECT_STREQ(writer.document()->path, "");
}
