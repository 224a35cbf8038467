#include "qvini/fileANSI.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "tests/doubles/TemporaryDirectory.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TemporaryDirectory;
using qv::tests::TestDocument;
using Texts = std::vector<std::string>;

constexpr unsigned kDefaultFlags = 14;

class IniFiles : public testing::Test {
 protected:
  int read(const std::string& name) {
    return IniReadFromFile(document_, directory_.path(name).c_str());
  }

  int readBytes(const std::string& bytes) {
    directory_.write("file", bytes);
    return read("file");
  }

  int write(const std::string& name) {
    return IniWriteToFile(document_, directory_.path(name).c_str());
  }

  std::time_t modificationTime(const std::string& name) const {
    struct stat entry {};
    EXPECT_EQ(::stat(directory_.path(name).c_str(), &entry), 0);
    return entry.st_mtime;
  }

  const TemporaryDirectory directory_;
  const TestDocument document_;
};

TEST_F(IniFiles, AreReadWithAllKindsOfLineEnds) {
  const std::string bytes("[s]\na = 1\r\nb = 2\n\rc = 3\rd = 4\0e = 5", 35);
  EXPECT_EQ(readBytes(bytes), 0);
  EXPECT_EQ(document_.lines(), (Texts{"[s]", "a = 1", "b = 2", "c = 3", "d = 4", "e = 5", ""}));
  EXPECT_EQ(document_.line("s", "e"), 6);
}

TEST_F(IniFiles, CountEmptyLines) {
  EXPECT_EQ(readBytes("\n\n[s]\r\n\r\nk = 1\r\rl = 2"), 0);
  EXPECT_EQ(document_.line("s", "k"), 5);
  EXPECT_EQ(document_.line("s", "l"), 7);
}

TEST_F(IniFiles, MayBeEmpty) {
  for (const char* bytes : {"", "\xef\xbb\xbf", "\n", "\r\n"}) {
    EXPECT_EQ(readBytes(bytes), 0);
    EXPECT_EQ(document_.lines(), Texts{});
    EXPECT_EQ(document_->firstBadLine, -1);
  }
}

TEST_F(IniFiles, MayBeginWithTheMarkOfUtf8) {
  EXPECT_EQ(readBytes("\xef\xbb\xbf[s]\nk = 1"), 0);
  EXPECT_EQ(document_.value("s", "k"), "1");
  EXPECT_EQ(document_.line("s", "k"), 2);
}

TEST_F(IniFiles, OfWideCharactersAreRefusedAndLeaveTheDocument) {
  ASSERT_EQ(readBytes("bad\n[s]\nk = 1"), 0);
  document_.value("s", "k");
  void* const lastSection = document_->lastSection;
  for (const std::string& mark : {std::string("\xff\xfe"), std::string("\xfe\xff"),
                                  std::string("\xff\xfe\0\0", 4), std::string("\0\0\xfe\xff", 4)}) {
    directory_.write("wide", mark + "[s]\nk = 2");
    EXPECT_EQ(read("wide"), -3);
    EXPECT_EQ(document_.value("s", "k"), "1");
    EXPECT_EQ(document_->firstBadLine, 1);
    EXPECT_EQ(document_->lastSection, lastSection);
    EXPECT_EQ(document_->path, directory_.path("file"));
  }
}

TEST_F(IniFiles, ThatAreMissingLeaveTheDocument) {
  ASSERT_EQ(readBytes("[s]\nk = 1"), 0);
  EXPECT_EQ(read("missing"), -5001);
  EXPECT_EQ(read("file/below"), -5001);
  EXPECT_EQ(document_.value("s", "k"), "1");
  EXPECT_EQ(document_->path, directory_.path("file"));
}

TEST_F(IniFiles, ThatCannotBeReadEmptyTheDocument) {
  ASSERT_EQ(readBytes("[s]\nk = 1"), 0);
  EXPECT_EQ(read("."), -5002);
  EXPECT_EQ(document_.lines(), Texts{});
  EXPECT_EQ(document_->path, directory_.path("file"));
}

TEST_F(IniFiles, MayBeNamedByAValueOfTheDocument) {
  directory_.write("other", "[s]\nk = 1");
  const std::string other = directory_.path("other");
  IniPut(document_, "s", "include", other.c_str(), 0);
  const char* path = nullptr;
  ASSERT_EQ(IniGet(document_, "s", "include", &path), 1);
  EXPECT_EQ(IniReadFromFile(document_, path), 0);
  EXPECT_EQ(document_.value("s", "k"), "1");
  EXPECT_EQ(document_->path, other);
}

TEST_F(IniFiles, NeedAPath) {
  EXPECT_EQ(IniReadFromFile(document_, nullptr), -22);
  EXPECT_EQ(IniReadFromFile(document_, ""), -22);
  EXPECT_EQ(IniWriteToFile(document_, nullptr), -22);
  EXPECT_EQ(IniWriteToFile(document_, ""), -22);
  document_->writeFlags = 0;
  EXPECT_EQ(IniWriteToFile(document_, ""), -22);
}

TEST_F(IniFiles, AreRememberedWithTheirTimeWhenRead) {
  directory_.write("file", "[s]");
  const timespec times[] = {{1000000000, 0}, {1234567890, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, directory_.path("file").c_str(), times, 0), 0);
  EXPECT_EQ(read("file"), 0);
  EXPECT_EQ(document_->path, directory_.path("file"));
  EXPECT_EQ(document_->modificationTime, 1234567890);
}

TEST_F(IniFiles, AreRememberedWithTheirTimeWhenWritten) {
  for (const unsigned flags : {0U, 2U, 6U}) {
    document_->writeFlags = flags;
    document_->modificationTime = 0;
    const std::string name = "file" + std::to_string(flags);
    EXPECT_EQ(write(name), 0);
    EXPECT_EQ(document_->path, directory_.path(name));
    EXPECT_EQ(document_->modificationTime, modificationTime(name));
  }
}

TEST_F(IniFiles, Of2038AndLaterAreReadRememberedAndReplaced) {
  // Or of the last time that the file system knows.
  const timespec times[] = {{4102444800, 0}, {4102444800, 0}};
  for (const unsigned flags : {2U, 6U}) {
    directory_.write("file", "[s]");
    ASSERT_EQ(::utimensat(AT_FDCWD, directory_.path("file").c_str(), times, 0), 0);
    EXPECT_EQ(read("file"), 0);
    EXPECT_EQ(document_->modificationTime, modificationTime("file"));
    document_->writeFlags = flags;
    EXPECT_EQ(write("file"), 0);
    EXPECT_EQ(directory_.read("file"), "[s]\n\n");
  }
}

TEST_F(IniFiles, Of4GiBAndMoreAreReplaced) {
  directory_.write("file");
  ASSERT_EQ(::truncate(directory_.path("file").c_str(), 0x100000001), 0);
  EXPECT_EQ(write("file"), 0);
  EXPECT_EQ(directory_.read("file"), "");
}

TEST_F(IniFiles, AreNotRememberedWhenWritingFails) {
  ASSERT_EQ(readBytes("[s]"), 0);
  const std::time_t time = document_->modificationTime;
  EXPECT_EQ(write("missing/file"), -13);
  document_->writeFlags = 0;
  EXPECT_EQ(write("missing/file"), -5004);
  EXPECT_EQ(document_->path, directory_.path("file"));
  EXPECT_EQ(document_->modificationTime, time);
}

TEST_F(IniFiles, AreRememberedWholeHoweverLongTheirPath) {
  std::string path = directory_.path();
  for (int i = 0; i < 4; ++i) {
    path += "/" + std::string(200, 'd');
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
  }
  path += "/file.ini";
  ASSERT_GT(path.size(), 800U);
  EXPECT_EQ(IniWriteToFile(document_, path.c_str()), 0);
  EXPECT_EQ(document_->path, path);
  EXPECT_EQ(IniReadFromFile(document_, path.c_str()), 0);
  EXPECT_EQ(document_->path, path);
}

TEST_F(IniFiles, MayBeNamedByTheRememberedPathItself) {
  ASSERT_EQ(readBytes("[s]\nk = 1"), 0);
  EXPECT_EQ(IniWriteToFile(document_, document_->path), 0);
  EXPECT_EQ(IniReadFromFile(document_, document_->path), 0);
  EXPECT_EQ(document_->path, directory_.path("file"));
  EXPECT_EQ(document_.value("s", "k"), "1");
}

TEST_F(IniFiles, BeginWithAMarkWhenFlagOneIsSet) {
  IniPut(document_, "s", "k", "v", 0);
  document_->writeFlags = kDefaultFlags | 1;
  EXPECT_EQ(write("file"), 0);
  EXPECT_EQ(directory_.read("file"), "\xef\xbb\xbf[s]\nk = v\n\n");
  document_->writeFlags = kDefaultFlags;
  EXPECT_EQ(write("file"), 0);
  EXPECT_EQ(directory_.read("file"), "[s]\nk = v\n\n");
}

TEST_F(IniFiles, OfAnEmptyDocumentAreEmpty) {
  EXPECT_EQ(write("file"), 0);
  EXPECT_EQ(directory_.read("file"), "");
  document_->writeFlags = 1;
  EXPECT_EQ(write("file"), 0);
  EXPECT_EQ(directory_.read("file"), "\xef\xbb\xbf");
}

TEST_F(IniFiles, GiveBackWhatWasWritten) {
  IniPutString(document_, "strings", "tricky", "\ttab \"quote\" \\ \x01\x7f; [x] = y");
  IniPutInt(document_, "numbers", "int", -5);
  IniPutString(document_, "strings", "long", std::string(1000, 'x').c_str());
  ASSERT_EQ(write("file"), 0);
  const Texts lines = document_.lines();
  ASSERT_EQ(read("file"), 0);
  EXPECT_EQ(document_->firstBadLine, -1);
  EXPECT_EQ(document_.lines(), lines);
  const char* value = nullptr;
  ASSERT_EQ(IniGetPointerToString(document_, "strings", "tricky", &value), 1);
  EXPECT_STREQ(value, "\ttab \"quote\" \\ \x01\x7f; [x] = y");
}

TEST_F(IniFiles, WithLinesOfAMegabyteAreReadAndWritten) {
  const std::string longText(1 << 20, 'x');
  ASSERT_EQ(readBytes("[s]\nk = " + longText + "\nl = 1\n;" + longText + "\nm = 2"), 0);
  EXPECT_EQ(document_.value("s", "k"), longText);
  EXPECT_EQ(document_.line("s", "m"), 5);
  document_->maxLineLength = kIniNoLineLimit;
  EXPECT_EQ(write("file"), 0);
  EXPECT_EQ(directory_.read("file"), "[s]\nk = " + longText + "\nl = 1\nm = 2\n\n");
}

TEST_F(IniFiles, WithAHundredThousandLinesAreReadAndWritten) {
  std::string bytes = "[s]\n";
  for (int i = 0; i < 100000; ++i)
    bytes += "key" + std::to_string(i) + " = " + std::to_string(i) + "\n";
  ASSERT_EQ(readBytes(bytes), 0);
  EXPECT_EQ(IniNumberOfItems(document_, "s"), 100000);
  for (int i = 0; i < 100000; i += 17)
    EXPECT_EQ(document_.value("s", "KEY" + std::to_string(i)), std::to_string(i));
  EXPECT_EQ(write("file"), 0);
  EXPECT_EQ(directory_.read("file"), bytes + "\n");
}

TEST_F(IniFiles, WithAHundredThousandSectionsAreReadAndChanged) {
  std::string bytes;
  for (int i = 0; i < 100000; ++i)
    bytes += "[section" + std::to_string(i) + "]\nk = v\n";
  ASSERT_EQ(readBytes(bytes), 0);
  for (int i = 0; i < 100000; ++i) {
    const std::string section = "section" + std::to_string(i);
    ASSERT_EQ(IniPut(document_, section.c_str(), "k", "w", 0), 1);
  }
  EXPECT_EQ(document_.value("section99999", "k"), "w");
  EXPECT_EQ(document_.value("section100000", "k"), "(none)");
}

TEST_F(IniFiles, WithNamesThatDifferInCaseAloneAreReadAsFastAsOthers) {
  std::string bytes = "[s]\n";
  for (unsigned i = 0; i < 65536; ++i) {
    std::string name = "abcdefghijklmnop";
    for (unsigned bit = 0; bit < 16; ++bit) {
      if ((i >> bit & 1) != 0) name[bit] = static_cast<char>(name[bit] - 'a' + 'A');
    }
    bytes += name + " = " + std::to_string(i) + "\n";
  }
  document_->caseSensitive = 1;
  ASSERT_EQ(readBytes(bytes), 0);
  EXPECT_EQ(IniNumberOfItems(document_, "s"), 65536);
  EXPECT_EQ(document_.value("s", "ABCDEFGHIJKLMNOP"), "65535");
  document_->caseSensitive = 0;
  EXPECT_EQ(document_.value("s", "ABCDEFGHIJKLMNOP"), "0");
}

TEST_F(IniFiles, WithOneKeyOverAndOverAreReadAsFastAsOthers) {
  std::string bytes = "[s]\n";
  for (int i = 0; i < 100000; ++i)
    bytes += "key = " + std::to_string(i) + "\n";
  document_->mergeDuplicates = 0;
  ASSERT_EQ(readBytes(bytes), 0);
  EXPECT_EQ(IniNumberOfItems(document_, "s"), 100000);
  for (int i = 0; i < 100000; ++i)
    ASSERT_EQ(IniItemExists(document_, "s", "KEY"), 1);
  EXPECT_EQ(document_.value("s", "key"), "0");
  document_->mergeDuplicates = 1;
  ASSERT_EQ(read("file"), 0);
  EXPECT_EQ(IniNumberOfItems(document_, "s"), 1);
  EXPECT_EQ(document_.value("s", "key"), "99999");
}

TEST_F(IniFiles, WithAValueInAHundredThousandPiecesAreReadAsFastAsOthers) {
  std::string bytes = "[s]\n";
  for (int i = 1; i <= 100000; ++i)
    bytes += "key Line" + std::to_string(i) + " = 0123456789\n";
  ASSERT_EQ(readBytes(bytes), 0);
  EXPECT_EQ(IniNumberOfItems(document_, "s"), 1);
  EXPECT_EQ(document_.value("s", "key").size(), 1000000U);
}

TEST(IniReadFromFileHelper, ReadsFromThePositionOfTheDescriptor) {
  const TemporaryDirectory directory;
  directory.write("file", "[skipped]\n[s]\nk = v");
  const int descriptor = ::open(directory.path("file").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::lseek(descriptor, 10, SEEK_SET), 10);
  const TestDocument document;
  EXPECT_EQ(qvini_IniReadFromFileHelper(document, descriptor), 0);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = v", ""}));
  ::close(descriptor);
}

TEST(IniWriteToFileHelper, FailsWhereTheFlushFails) {
  const TestDocument document({"[s]", "k = v"});
  const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  EXPECT_EQ(qvini_IniWriteToFileHelper(document, full), -28);
  IniPut(document, "s", "long", std::string(10000, 'x').c_str(), 0);
  EXPECT_EQ(qvini_IniWriteToFileHelper(document, full), -28);
  ::close(full);
}

}  // namespace
