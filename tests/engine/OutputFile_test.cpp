#include "engine/OutputFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/doubles/TemporaryDirectory.h"
#include "tests/engine/FileSizeLimit.h"
#include "tests/engine/OpenDescriptors.h"

namespace qv::traceengine {
namespace {

class OutputFileTest : public testing::Test {
 protected:
  bool append(const std::string& lines) {
    return file_.append(lines.data(), lines.size()) == lines.size();
  }
  void appendAsAnother(const std::string& text) {
    std::ofstream(path_, std::ios::app | std::ios::binary) << text;
  }
  std::string contents() const { return directory_.read("trace.log"); }

  tests::TemporaryDirectory directory_;
  std::string path_ = directory_.path("trace.log");
  OutputFile file_{path_};
};

TEST_F(OutputFileTest, IsMadeWithTheFirstLinesAndForItsOwnerOnly) {
  EXPECT_FALSE(directory_.has("trace.log"));
  ::umask(0);
  EXPECT_TRUE(append("one\ntwo\n"));
  EXPECT_EQ(contents(), "one\ntwo\n");
  EXPECT_EQ(directory_.permissions("trace.log"), 0600u);
}

TEST_F(OutputFileTest, AppendsToWhatIsThere) {
  directory_.write("trace.log", "before\n");
  EXPECT_TRUE(append("one\n"));
  appendAsAnother("other\n");
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "before\none\nother\ntwo\n");
}

TEST_F(OutputFileTest, IsNotHandedToProgramsThatTheHostStarts) {
  ASSERT_TRUE(append("one\n"));
  const int descriptor = tests::DescriptorOf(path_);
  ASSERT_NE(descriptor, -1);
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(OutputFileTest, TakesNoneOfTheNumbersOfTheStandardStreams) {
  const int former = ::dup(STDIN_FILENO);
  ::close(STDIN_FILENO);
  const bool isAppended = append("one\n");
  const int descriptor = tests::DescriptorOf(path_);
  ::dup2(former, STDIN_FILENO);
  EXPECT_TRUE(isAppended);
  EXPECT_GT(descriptor, STDERR_FILENO);
}

TEST_F(OutputFileTest, FollowsItsPathAfterARename) {
  append("one\n");
  std::filesystem::rename(path_, path_ + ".1");
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(directory_.read("trace.log.1"), "one\n");
  EXPECT_EQ(contents(), "two\n");
  EXPECT_EQ(directory_.permissions("trace.log"), 0600u);
  EXPECT_EQ(tests::DescriptorOf(path_ + ".1"), -1);
}

TEST_F(OutputFileTest, FollowsItsPathToAFileThatAnotherMade) {
  append("one\n");
  std::filesystem::rename(path_, path_ + ".1");
  directory_.write("trace.log", "header\n");
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "header\ntwo\n");
}

TEST_F(OutputFileTest, IsMadeAnewAfterItWasRemoved) {
  append("one\n");
  std::filesystem::remove(path_);
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "two\n");
}

TEST_F(OutputFileTest, GoesOnAtTheStartOfAFileThatWasEmptied) {
  append("one\n");
  std::filesystem::resize_file(path_, 0);
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "two\n");
}

TEST_F(OutputFileTest, StaysWithTheFormerFileWhileNoNewOneCanBeMade) {
  append("one\n");
  std::filesystem::rename(path_, path_ + ".1");
  std::filesystem::create_directory(path_);
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(directory_.read("trace.log.1"), "one\ntwo\n");
  std::filesystem::remove(path_);
  EXPECT_TRUE(append("three\n"));
  EXPECT_EQ(contents(), "three\n");
}

TEST_F(OutputFileTest, TakesNothingUntilItCanBeOpened) {
  OutputFile file(directory_.path("later/trace.log"));
  EXPECT_EQ(file.append("one\n", 4), 0u);
  directory_.makeDirectory("later");
  EXPECT_EQ(file.append("two\n", 4), 4u);
  EXPECT_EQ(directory_.read("later/trace.log"), "two\n");
}

TEST_F(OutputFileTest, WritesIntoNoFileThatTheHostOpenedUnderItsNumber) {
  append("one\n");
  const int descriptor = tests::DescriptorOf(path_);
  ASSERT_NE(descriptor, -1);
  directory_.write("precious", "");
  const int hosts = ::open(directory_.path("precious").c_str(), O_WRONLY);
  ASSERT_EQ(::dup2(hosts, descriptor), descriptor);
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "one\ntwo\n");
  EXPECT_EQ(directory_.read("precious"), "");
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), 0) << "the host's descriptor was closed";
  ::close(hosts);
  ::close(descriptor);
}

// As a file system does that gives the number of a removed file to the next one.
TEST_F(OutputFileTest, WritesIntoNoDescriptorOfTheHostThatDoesNotAppendEvenToTheSameFile) {
  append("one\n");
  const int descriptor = tests::DescriptorOf(path_);
  const int hosts = ::open(path_.c_str(), O_WRONLY);
  ASSERT_EQ(::dup2(hosts, descriptor), descriptor);
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "one\ntwo\n");
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), 0) << "the host's descriptor was closed";
  ::close(hosts);
  ::close(descriptor);
}

TEST_F(OutputFileTest, IsOpenedAgainAfterTheHostClosedIt) {
  append("one\n");
  ::close(tests::DescriptorOf(path_));
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "one\ntwo\n");
}

TEST_F(OutputFileTest, ClosesNoDescriptorOfTheHostAtItsEnd) {
  const std::size_t open = tests::DescriptorsOf("/dev/null").size();
  const int hosts = ::open("/dev/null", O_WRONLY);
  {
    OutputFile file(path_);
    ASSERT_EQ(file.append("one\n", 4), 4u);
    const int descriptor = tests::DescriptorOf(path_);
    ::dup2(hosts, descriptor);
    EXPECT_EQ(tests::DescriptorOf(path_), -1);
  }
  EXPECT_EQ(tests::DescriptorsOf("/dev/null").size(), open + 2);
}

TEST_F(OutputFileTest, KeepsWholeLinesOnlyOfWhatAFullDiskTook) {
  append("0123456789\n");
  {
    const tests::FileSizeLimit limit(19);
    const std::string lines = "abc\ndefghijk\nl\n";
    EXPECT_EQ(file_.append(lines.data(), lines.size()), 4u);
    EXPECT_EQ(contents(), "0123456789\nabc\n");
    EXPECT_FALSE(append("mnopqrst\n"));
    EXPECT_TRUE(append("uvw\n"));
  }
  EXPECT_TRUE(append("xyz\n"));
  EXPECT_EQ(contents(), "0123456789\nabc\nuvw\nxyz\n");
}

TEST_F(OutputFileTest, KeepsWholeLinesOnlyBehindTheFirst4GiBToo) {
  constexpr off_t kFormer = 0x100000000;
  append("0\n");
  ASSERT_EQ(::truncate(path_.c_str(), kFormer), 0);
  const tests::FileSizeLimit limit(kFormer + 9);
  const std::string lines = "abc\ndefghijk\nl\n";
  EXPECT_EQ(file_.append(lines.data(), lines.size()), 4u);
  EXPECT_EQ(std::filesystem::file_size(path_), static_cast<std::uintmax_t>(kFormer + 4));
}

TEST_F(OutputFileTest, EndsHalfALineThatItCannotTakeBack) {
  append("0123456789\n");
  // The file has no name to be read under.
  std::filesystem::rename(path_, path_ + ".1");
  std::filesystem::create_directory(path_);
  {
    const tests::FileSizeLimit limit(14);
    EXPECT_FALSE(append("abcdef\n"));
    EXPECT_FALSE(append("ghijkl\n"));
  }
  EXPECT_TRUE(append("mno\n"));
  EXPECT_EQ(directory_.read("trace.log.1"), "0123456789\nabc\nmno\n");
}

TEST_F(OutputFileTest, TakesNothingOnADiskThatIsFull) {
  OutputFile full("/dev/full");
  EXPECT_EQ(full.append("one\n", 4), 0u);
}

TEST_F(OutputFileTest, DoesNotWaitForAReaderOfAPipe) {
  const std::string pipe = directory_.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  OutputFile file(pipe);
  EXPECT_EQ(file.append("one\n", 4), 0u);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(file.append("two\n", 4), 4u);
  char text[8];
  EXPECT_EQ(::read(reader, text, sizeof(text)), 4);
  ::close(reader);
}

/// Writes to a pipe until it takes no more.
void Fill(int writer) {
  const int flags = ::fcntl(writer, F_GETFL);
  ::fcntl(writer, F_SETFL, flags | O_NONBLOCK);
  const std::string filling(4096, 'x');
  while (::write(writer, filling.data(), filling.size()) > 0)
    continue;
  ::fcntl(writer, F_SETFL, flags);
}

OutputFile::Time Soon() {
  return OutputFile::Time::clock::now() + std::chrono::milliseconds(20);
}

TEST_F(OutputFileTest, GivesUpAPipeThatTakesNothingAtTheTimeToldAndTriesAgain) {
  const std::string pipe = directory_.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  const int writer = ::open(pipe.c_str(), O_WRONLY);
  Fill(writer);
  OutputFile file(pipe);
  const OutputFile::Time end = Soon();
  file.giveUpAt(end);
  EXPECT_EQ(file.append("one\n", 4), 0u);
  EXPECT_GE(OutputFile::Time::clock::now(), end);
  char bytes[4096];
  while (::read(reader, bytes, sizeof(bytes)) > 0)
    continue;
  EXPECT_EQ(file.append("two\n", 4), 4u);
  EXPECT_EQ(::read(reader, bytes, sizeof(bytes)), 4);
  ::close(writer);
  ::close(reader);
}

TEST_F(OutputFileTest, TakesLinesWholeAfterTheTimeToGiveUpWhereItNeedsNoWaiting) {
  file_.giveUpAt(OutputFile::Time::clock::now());
  EXPECT_TRUE(append("one\n"));
  EXPECT_TRUE(append("two\n"));
  EXPECT_EQ(contents(), "one\ntwo\n");
}

TEST(StandardError, TakesLinesAndStaysOpen) {
  testing::internal::CaptureStderr();
  {
    OutputFile file("");
    EXPECT_EQ(file.append("one\n", 4), 4u);
  }
  EXPECT_NE(::fcntl(STDERR_FILENO, F_GETFD), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\n");
}

TEST(StandardError, MayHaveBeenClosedByTheHost) {
  const int former = ::dup(STDERR_FILENO);
  ::close(STDERR_FILENO);
  OutputFile file("");
  EXPECT_EQ(file.append("one\n", 4), 0u);
  ::dup2(former, STDERR_FILENO);
  ::close(former);
}

TEST(StandardError, KeepsTheNextLineApartFromHalfALine) {
  const tests::TemporaryDirectory directory;
  const int file = ::open(directory.path("log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  const int former = ::dup(STDERR_FILENO);
  ::dup2(file, STDERR_FILENO);
  OutputFile output("");
  {
    const tests::FileSizeLimit limit(3);
    EXPECT_EQ(output.append("abcdef\n", 7), 0u);
  }
  EXPECT_EQ(output.append("ghi\n", 4), 4u);
  ::dup2(former, STDERR_FILENO);
  ::close(former);
  ::close(file);
  EXPECT_EQ(directory.read("log"), "abc\nghi\n");
}

TEST(StandardError, IsGivenUpAtTheTimeToldWhenItTakesNothing) {
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  Fill(pipe[1]);
  const int former = ::dup(STDERR_FILENO);
  ::dup2(pipe[1], STDERR_FILENO);
  OutputFile file("");
  const OutputFile::Time end = Soon();
  file.giveUpAt(end);
  const std::size_t written = file.append("one\n", 4);
  ::dup2(former, STDERR_FILENO);
  for (const int descriptor : {former, pipe[0], pipe[1]})
    ::close(descriptor);
  EXPECT_EQ(written, 0u);
  EXPECT_GE(OutputFile::Time::clock::now(), end);
}

/// Whether the thread waits whose state the system keeps in that file.
bool IsAsleep(const std::string& file) {
  std::string text;
  std::getline(std::ifstream(file), text);
  const std::size_t name = text.rfind(')');
  return name != std::string::npos && text.compare(name, 3, ") S") == 0;
}

TEST(StandardError, IsWaitedForWhereTheHostMadeItNonBlocking) {
  int pipe[2];
  ASSERT_EQ(::pipe2(pipe, O_NONBLOCK), 0);
  Fill(pipe[1]);
  const int former = ::dup(STDERR_FILENO);
  ::dup2(pipe[1], STDERR_FILENO);

  std::string text;
  const auto readSome = [&] {
    char bytes[4096];
    const ssize_t size = ::read(pipe[0], bytes, sizeof(bytes));
    if (size > 0) text.append(bytes, static_cast<std::size_t>(size));
    return size > 0;
  };
  std::atomic<bool> isOver{false};
  const std::string state = "/proc/self/task/" + std::to_string(::gettid()) + "/stat";
  std::thread reader([&] {
    while (!isOver && !IsAsleep(state))
      std::this_thread::yield();
    while (!isOver)
      readSome();
  });
  OutputFile file("");
  const std::size_t written = file.append("one\n", 4);
  isOver = true;
  reader.join();
  while (readSome())
    continue;
  ::dup2(former, STDERR_FILENO);
  ::close(former);
  EXPECT_EQ(written, 4u);
  EXPECT_EQ(text.substr(text.find('o')), "one\n");
}

}  // namespace
}  // namespace qv::traceengine
