#include "qvini/lineFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "qvini/qvini.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace {

using qv::tests::TemporaryDirectory;
using Texts = std::vector<std::string>;

// An open file with these bytes.
class OpenFile {
 public:
  explicit OpenFile(const std::string& bytes) {
    directory_.write("file", bytes);
    descriptor = ::open(directory_.path("file").c_str(), O_RDONLY | O_CLOEXEC);
  }
  ~OpenFile() { ::close(descriptor); }

  int descriptor;

 private:
  const TemporaryDirectory directory_;
};

// All lines of a source, got with buffers of this size; a part ends with "|".
Texts LinesOf(qvini_FileSource& source, std::size_t size) {
  Texts lines;
  std::vector<char> buffer(size);
  for (;;) {
    const int result = IniLineFileInputFunction(&source, buffer.data(), size);
    if (result <= 0) {
      EXPECT_EQ(result, kIniInputEnd);
      return lines;
    }
    lines.push_back(buffer.data() + std::string(result == kIniInputPart ? "|" : ""));
  }
}

Texts Lines(const std::string& bytes, std::size_t size = 100) {
  const OpenFile file(bytes);
  qvini_FileSource source;
  qvini_InitFileSource(&source, file.descriptor);
  return LinesOf(source, size);
}

TEST(FileLines, EndAtLineFeedCarriageReturnAndNul) {
  EXPECT_EQ(Lines("a\nb\n"), (Texts{"a", "b"}));
  EXPECT_EQ(Lines("a\rb\r"), (Texts{"a", "b"}));
  EXPECT_EQ(Lines(std::string("a\0b\0", 4)), (Texts{"a", "b"}));
}

TEST(FileLines, TakeAPairForOneEnd) {
  EXPECT_EQ(Lines("a\r\nb\r\n"), (Texts{"a", "b"}));
  EXPECT_EQ(Lines("a\n\rb\n\r"), (Texts{"a", "b"}));
}

TEST(FileLines, TakeTwoEqualEndsForAnEmptyLine) {
  EXPECT_EQ(Lines("a\n\nb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines("a\r\rb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines(std::string("a\0\0b", 4)), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines("a\r\n\r\nb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines("a\n\r\n\rb"), (Texts{"a", "", "b"}));
}

TEST(FileLines, PairFromTheLeft) {
  EXPECT_EQ(Lines("a\r\n\rb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines("a\n\r\nb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines("a\r\r\nb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines("a\n\n\rb"), (Texts{"a", "", "b"}));
}

TEST(FileLines, TakeNulIntoNoPair) {
  EXPECT_EQ(Lines(std::string("a\0\nb", 4)), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines(std::string("a\n\0b", 4)), (Texts{"a", "", "b"}));
  EXPECT_EQ(Lines(std::string("a\r\0\nb", 5)), (Texts{"a", "", "", "b"}));
}

TEST(FileLines, IncludeALastOneWithoutAnEnd) {
  EXPECT_EQ(Lines("a\nb"), (Texts{"a", "b"}));
  EXPECT_EQ(Lines("a"), (Texts{"a"}));
  EXPECT_EQ(Lines(""), Texts{});
  EXPECT_EQ(Lines("\n"), (Texts{""}));
  EXPECT_EQ(Lines("\r\n"), (Texts{""}));
}

TEST(FileLines, ComeInPartsWhenTheyDoNotFit) {
  EXPECT_EQ(Lines("abc\n", 4), (Texts{"abc"}));
  EXPECT_EQ(Lines("abcd\n", 4), (Texts{"abc|", "d"}));
  EXPECT_EQ(Lines("abcdef\r\nx", 4), (Texts{"abc|", "def", "x"}));
  EXPECT_EQ(Lines("abcdef", 4), (Texts{"abc|", "def"}));
  EXPECT_EQ(Lines("ab\n", 2), (Texts{"a|", "b"}));
}

TEST(FileLines, AreTheSameWhereverABlockEnds) {
  for (const std::string& end : {std::string("\n"), std::string("\r"), std::string("\r\n"),
                                 std::string("\n\r"), std::string("\0", 1)}) {
    for (std::size_t length = 2080; length <= 2088; ++length) {
      const std::string line(length, 'x');
      EXPECT_EQ(Lines(line + end + end + "y" + end, 4000), (Texts{line, "", "y"})) << length;
      EXPECT_EQ(Lines(line + end, 4000), (Texts{line})) << length;
      EXPECT_EQ(Lines(line, 4000), (Texts{line})) << length;
    }
  }
}

TEST(FileLines, AreTheSameForMoreThanOneBlock) {
  std::string bytes;
  Texts expected;
  for (int i = 0; i < 3000; ++i) {
    expected.push_back(std::string(static_cast<std::size_t>(i % 17), 'a') + std::to_string(i));
    bytes += expected.back() + (i % 3 == 0 ? "\n" : i % 3 == 1 ? "\r\n" : "\n\r");
  }
  EXPECT_EQ(Lines(bytes), expected);
}

TEST(FileLines, EndOnceAndForAll) {
  const OpenFile file("a");
  qvini_FileSource source;
  qvini_InitFileSource(&source, file.descriptor);
  LinesOf(source, 10);
  char buffer[10] = "untouched";
  EXPECT_EQ(IniLineFileInputFunction(&source, buffer, sizeof(buffer)), kIniInputEnd);
  EXPECT_EQ(IniLineFileInputFunction(&source, buffer, sizeof(buffer)), kIniInputEnd);
}

TEST(FileLines, FailWhereTheFileCannotBeRead) {
  const int directory = ::open("/tmp", O_RDONLY | O_CLOEXEC);
  qvini_FileSource source;
  qvini_InitFileSource(&source, directory);
  char buffer[10];
  EXPECT_EQ(IniLineFileInputFunction(&source, buffer, sizeof(buffer)), -5002);
  EXPECT_EQ(IniLineFileInputFunction(&source, buffer, sizeof(buffer)), -5002);
  ::close(directory);
}

struct Checked {
  int result;
  Texts lines;
  bool operator==(const Checked& other) const {
    return result == other.result && lines == other.lines;
  }
};

Checked Check(const std::string& bytes) {
  const OpenFile file(bytes);
  qvini_FileSource source;
  qvini_InitFileSource(&source, file.descriptor);
  Checked checked{qvini_CheckEncoding(&source), {}};
  if (checked.result == 0) checked.lines = LinesOf(source, 100);
  return checked;
}

TEST(CheckEncoding, RefusesTheMarksOfSixteenAndThirtyTwoBits) {
  EXPECT_EQ(Check(std::string("\xff\xfe\0\0a", 5)).result, -3);
  EXPECT_EQ(Check(std::string("\0\0\xfe\xff\0", 5)).result, -3);
  EXPECT_EQ(Check("\xff\xfe\x61").result, -3);
  EXPECT_EQ(Check("\xfe\xff").result, -3);
  EXPECT_EQ(Check("\xff\xfe").result, -3);
}

TEST(CheckEncoding, SkipsTheMarkOfUtf8) {
  EXPECT_EQ(Check("\xef\xbb\xbf"
                  "abc\n"),
            (Checked{0, {"abc"}}));
  EXPECT_EQ(Check("\xef\xbb\xbf"), (Checked{0, {}}));
  EXPECT_EQ(Check("\xef\xbb\xbf\n"), (Checked{0, {""}}));
  EXPECT_EQ(Check("\xef\xbb\xbf\xef\xbb\xbf"), (Checked{0, {"\xef\xbb\xbf"}}));
}

TEST(CheckEncoding, ReadsAnyOtherStartFromItsFirstByte) {
  EXPECT_EQ(Check(""), (Checked{0, {}}));
  EXPECT_EQ(Check("a"), (Checked{0, {"a"}}));
  EXPECT_EQ(Check("abc\ndef"), (Checked{0, {"abc", "def"}}));
  EXPECT_EQ(Check("\xef\xbb"), (Checked{0, {"\xef\xbb"}}));
  EXPECT_EQ(Check("\xef\xbb\n"), (Checked{0, {"\xef\xbb"}}));
  EXPECT_EQ(Check("\xff"), (Checked{0, {"\xff"}}));
  EXPECT_EQ(Check("\xff\xff"), (Checked{0, {"\xff\xff"}}));
  EXPECT_EQ(Check(std::string("\0\0\xfe", 3)), (Checked{0, {"", "", "\xfe"}}));
  EXPECT_EQ(Check(std::string("\0\0\xff\xfe", 4)), (Checked{0, {"", "", "\xff\xfe"}}));
  EXPECT_EQ(Check(" \xff\xfe"), (Checked{0, {" \xff\xfe"}}));
}

TEST(CheckEncoding, WaitsForAPipeThatGivesBytesOneByOne) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  std::thread writer([&] {
    for (const char c : std::string("\xef\xbb\xbf[s]\r\nk = v\n"))
      EXPECT_EQ(::write(ends[1], &c, 1), 1);
    ::close(ends[1]);
  });
  qvini_FileSource source;
  qvini_InitFileSource(&source, ends[0]);
  EXPECT_EQ(qvini_CheckEncoding(&source), 0);
  EXPECT_EQ(LinesOf(source, 100), (Texts{"[s]", "k = v"}));
  writer.join();
  ::close(ends[0]);
}

TEST(CheckEncoding, WaitsForNoMoreThanTheLongestMarkTakes) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
  ASSERT_EQ(::write(ends[1], "[s]\n", 4), 4);
  qvini_FileSource source;
  qvini_InitFileSource(&source, ends[0]);
  // To ask the pipe for more would fail, and the source with it.
  EXPECT_EQ(qvini_CheckEncoding(&source), 0);
  ASSERT_EQ(::write(ends[1], "k = v\n", 6), 6);
  ::close(ends[1]);
  EXPECT_EQ(LinesOf(source, 100), (Texts{"[s]", "k = v"}));
  ::close(ends[0]);
}

TEST(FileSink, WritesAllBytesInOrder) {
  const TemporaryDirectory directory;
  const int descriptor =
      ::open(directory.path("file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  qvini_FileSink sink;
  qvini_InitFileSink(&sink, descriptor);
  std::string expected;
  for (std::size_t length = 0; length < 9000; length = length * 2 + 1) {
    const std::string line(length, static_cast<char>('a' + length % 26));
    EXPECT_EQ(IniLineFileOutputFunction(&sink, line.c_str()), 0);
    expected += line + "\n";
  }
  EXPECT_EQ(qvini_PutBytes(&sink, "\0x", 2), 0);
  EXPECT_EQ(qvini_Flush(&sink), 0);
  EXPECT_EQ(qvini_Flush(&sink), 0);
  ::close(descriptor);
  EXPECT_EQ(directory.read("file"), expected + std::string("\0x", 2));
}

TEST(FileSink, FailsWhereNothingCanBeStored) {
  const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  qvini_FileSink sink;
  qvini_InitFileSink(&sink, full);
  EXPECT_EQ(IniLineFileOutputFunction(&sink, "short"), 0) << "kept until the flush";
  EXPECT_EQ(qvini_Flush(&sink), -28);
  EXPECT_EQ(IniLineFileOutputFunction(&sink, std::string(5000, 'x').c_str()), -28);
  ::close(full);
}

}  // namespace
