#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/doubles/Text.h"
#include "tests/engine/FileSizeLimit.h"
#include "tests/engine/LoadedEngine.h"
#include "tests/engine/TraceFile.h"

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TraceEngine : public testing::Test {
 protected:
  TraceFile file_;
};

TEST_F(TraceEngine, WritesEachRecordAsALineWithItsTime) {
  LoadedEngine engine;
  engine.send("t=7f | qvsslinit | RefCount | f | one");
  engine.send("t=7f | ERROR | qvsslinit | f | two\nlines");
  engine.release();
  EXPECT_EQ(file_.directory().read("trace.log"),
            kStampText + " t=7f | qvsslinit | RefCount | f | one\n" + kStampText +
                " t=7f | ERROR | qvsslinit | f | two\\nlines\n");
}

TEST_F(TraceEngine, WritesNothingForABlockThatComesBackUnused) {
  LoadedEngine engine;
  engine->getFreeBlock()->returnToFactory();
  engine.send("one");
  engine.release();
  EXPECT_THAT(file_.records(), ElementsAre("one"));
}

TEST_F(TraceEngine, PassesOverNullAndABlockThatWasSentBefore) {
  LoadedEngine engine;
  engine->sendBlock(nullptr);
  traceengine::LoggingBlock* block = engine->getFreeBlock();
  block->returnToFactory();
  engine->sendBlock(block);
  engine.release();
  EXPECT_THAT(file_.records(), IsEmpty());
}

TEST_F(TraceEngine, TellsWhereTagFilesLieAndWhetherTagsAreNamed) {
  ::setenv("QV_TRACE_CONFIG_DIR", "/opt/kestrix/trace", 1);
  ::setenv("QV_TRACE_TAG_NAMES", "no", 1);
  const LoadedEngine engine;
  kit::WString directory(L"before");
  engine->getConfigDirectory(directory);
  EXPECT_EQ(Exactly(directory), L"/opt/kestrix/trace");
  EXPECT_FALSE(engine->showTagNames());
}

TEST_F(TraceEngine, NamesTagsUnlessToldOtherwise) {
  const LoadedEngine engine;
  EXPECT_TRUE(engine->showTagNames());
}

TEST_F(TraceEngine, HasAsManyBlocksAsItWasTold) {
  ::setenv("QV_TRACE_BLOCKS", "3", 1);
  const LoadedEngine engine;
  for (int i = 0; i < 3; ++i)
    EXPECT_NE(engine->getFreeBlock(), nullptr);
  EXPECT_EQ(engine->getFreeBlock(), nullptr);
}

TEST_F(TraceEngine, CountsWhatItsClientsDroppedInALineOfItsOwn) {
  ::setenv("QV_TRACE_BLOCKS", "1", 1);
  LoadedEngine engine;
  traceengine::LoggingBlock* block = engine->getFreeBlock();
  EXPECT_FALSE(engine.send("two"));
  EXPECT_FALSE(engine.send("three"));
  Fill(*block, "one");
  engine->sendBlock(block);
  engine.release();
  EXPECT_THAT(file_.records(), ElementsAre("one"));
  EXPECT_EQ(file_.dropped(), 2u);
  EXPECT_NE(
      file_.directory().read("trace.log").find("(process " + std::to_string(::getpid()) + ")"),
      std::string::npos);
}

TEST_F(TraceEngine, KeepsTheRecordsOfEachThreadInTheirOrder) {
  constexpr int kThreads = 6;
  constexpr int kRecords = 3000;
  ::setenv("QV_TRACE_BLOCKS", "64", 1);
  LoadedEngine engine;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&engine, i] {
      for (int n = 0; n < kRecords; ++n)
        engine.sendSurely(std::to_string(i) + ":" + std::to_string(n));
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  engine.release();

  std::vector<int> next(kThreads, 0);
  for (const std::string& record : file_.records()) {
    const std::size_t colon = record.find(':');
    const auto thread = static_cast<std::size_t>(std::stoi(record));
    EXPECT_EQ(std::stoi(record.substr(colon + 1)), next[thread]++);
  }
  EXPECT_THAT(next, testing::Each(kRecords));
  EXPECT_EQ(file_.dropped(), 0u);
}

TEST_F(TraceEngine, WritesOrCountsEveryRecordOfManyThreads) {
  constexpr int kThreads = 6;
  constexpr int kRecords = 5000;
  ::setenv("QV_TRACE_BLOCKS", "2", 1);
  LoadedEngine engine;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&engine] {
      for (int n = 0; n < kRecords; ++n)
        engine.send("record");
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  engine.release();
  const auto written = file_.records().size();
  EXPECT_EQ(written + file_.dropped(), std::uint64_t{kThreads} * kRecords);
}

TEST_F(TraceEngine, GoesOnInANewFileAfterARename) {
  const LoadedEngine engine;
  engine.sendSurely("one");
  while (file_.records().empty())
    std::this_thread::yield();
  std::filesystem::rename(file_.path(), file_.path() + ".1");
  engine.sendSurely("two");
  while (file_.records().empty())
    std::this_thread::yield();
  EXPECT_THAT(file_.records(), ElementsAre("two"));
  EXPECT_THAT(file_.records("trace.log.1"), ElementsAre("one"));
}

TEST_F(TraceEngine, LosesNothingInManyRenames) {
  constexpr int kRenames = 50;
  LoadedEngine engine;
  std::atomic<bool> isOver{false};
  std::size_t sent = 0;
  std::thread sender([&] {
    for (; !isOver; ++sent)
      engine.sendSurely("record " + std::to_string(sent));
  });
  for (int renamed = 0; renamed < kRenames;) {
    std::error_code error;
    std::filesystem::rename(file_.path(), file_.path() + "." + std::to_string(renamed), error);
    if (!error) ++renamed;
  }
  isOver = true;
  sender.join();
  engine.release();
  std::vector<std::string> all = file_.records();
  for (int i = 0; i < kRenames; ++i) {
    for (const std::string& record : file_.records("trace.log." + std::to_string(i)))
      all.push_back(record);
  }
  EXPECT_EQ(all.size(), sent);
  EXPECT_EQ(Counts(all).size(), sent);
}

TEST_F(TraceEngine, CountsWhatItsFileDidNotTakeAndTellsOnceItDoes) {
  ::setenv("QV_TRACE_OUTPUT", file_.directory().path("later/trace.log").c_str(), 1);
  // With one block, the third record was tried before the fifth could be sent.
  ::setenv("QV_TRACE_BLOCKS", "1", 1);
  LoadedEngine engine;
  for (int i = 0; i < 5; ++i)
    engine.sendSurely("early");
  file_.directory().makeDirectory("later");
  engine.sendSurely("late");
  engine.release();
  const std::vector<std::string> records = file_.records("later/trace.log");
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.back(), "late");
  EXPECT_GE(file_.dropped(), 3u);
  EXPECT_EQ(records.size() + file_.dropped(), 6u);
}

TEST_F(TraceEngine, KeepsLinesWholeOnADiskThatIsFullForAWhile) {
  constexpr std::size_t kRecords = 200;
  // With few blocks most records have been tried on the file when the last one is sent: more than
  // the limit has room for. The file itself cannot be asked: half a line is there for a moment.
  ::setenv("QV_TRACE_BLOCKS", "16", 1);
  LoadedEngine engine;
  {
    const FileSizeLimit limit(5000);
    for (std::size_t i = 0; i < kRecords; ++i)
      engine.sendSurely("record " + std::to_string(i));
  }
  engine.sendSurely("late");
  engine.release();
  const std::vector<std::string> records = file_.records();
  EXPECT_EQ(records.back(), "late");
  EXPECT_GT(file_.dropped(), 0u);
  EXPECT_EQ(records.size() + file_.dropped(), kRecords + 1);
}

TEST_F(TraceEngine, BlocksEverySignalInItsThread) {
  const auto threads = [] {
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
      found.insert(entry.path());
    return found;
  };
  // A sanitizer may start a thread of its own with the first that the program starts.
  std::thread([] {}).join();
  const std::set<std::string> before = threads();
  const LoadedEngine engine;
  engine.send("one");
  std::vector<std::string> started;
  for (const std::string& thread : threads()) {
    if (before.count(thread) == 0) started.push_back(thread);
  }
  ASSERT_EQ(started.size(), 1u);
  std::ifstream status(started.front() + "/status");
  std::uint64_t blocked = 0;
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("SigBlk:", 0) == 0) blocked = std::stoull(line.substr(7), nullptr, 16);
  }
  for (const int signal : {SIGHUP, SIGINT, SIGUSR1, SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGCHLD,
                           SIGXFSZ, SIGPROF, SIGRTMIN, SIGRTMAX})
    EXPECT_TRUE((blocked >> (signal - 1) & 1) != 0) << signal;
}

TEST_F(TraceEngine, LeavesTheSignalsOfItsCallersAsTheyWere) {
  sigset_t mask;
  sigemptyset(&mask);
  sigaddset(&mask, SIGUSR2);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  LoadedEngine().send("one");
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGUSR2), 1);
  EXPECT_EQ(sigismember(&mask, SIGUSR1), 0);
}

/// A pipe as output, whose reading end the test has.
class TraceEngineOnAPipe : public TraceEngine {
 protected:
  TraceEngineOnAPipe() {
    if (::mkfifo(path_.c_str(), 0600) != 0) throw std::runtime_error("no pipe");
    ::setenv("QV_TRACE_OUTPUT", path_.c_str(), 1);
  }
  ~TraceEngineOnAPipe() override { closeReader(); }

  void openReader() { reader_ = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK); }
  void closeReader() {
    if (reader_ != -1) ::close(reader_);
    reader_ = -1;
  }
  void fill() const {
    const int writer = ::open(path_.c_str(), O_WRONLY | O_NONBLOCK);
    const std::string filling(512, '#');
    while (::write(writer, filling.data(), filling.size()) > 0)
      continue;
    ::close(writer);
  }
  /// Reads whole lines, behind what fill() wrote, until so many records were written or dropped.
  std::vector<std::string> readRecords(std::size_t count) {
    std::vector<std::string> records;
    while (records.size() + file_.dropped() < count) {
      char bytes[4096];
      const ssize_t size = ::read(reader_, bytes, sizeof(bytes));
      if (size > 0) text_.append(bytes, static_cast<std::size_t>(size));
      text_.erase(0, std::min(text_.size(), text_.find_first_not_of('#')));
      records = file_.recordsIn(text_.substr(0, text_.rfind('\n') + 1));
    }
    return records;
  }

  std::string path_ = file_.directory().path("pipe");
  int reader_ = -1;
  std::string text_;
};

TEST_F(TraceEngineOnAPipe, NeverWaitsForAFileThatTakesNothing) {
  constexpr int kBlocks = 4;
  ::setenv("QV_TRACE_BLOCKS", "4", 1);
  openReader();
  fill();
  LoadedEngine engine;
  std::size_t accepted = 0;
  constexpr std::size_t kRecords = 1000;
  for (std::size_t i = 0; i < kRecords; ++i)
    accepted += engine.send("record") ? 1 : 0;
  // The writer has one pool of them in hand at most, and then waits in the file.
  EXPECT_GE(accepted, 1u * kBlocks);
  EXPECT_LE(accepted, 2u * kBlocks);

  EXPECT_EQ(readRecords(kRecords).size(), accepted);
  EXPECT_EQ(file_.dropped(), kRecords - accepted);
  const std::size_t lastLine = text_.rfind('\n', text_.size() - 2) + 1;
  EXPECT_NE(text_.find("records dropped", lastLine), std::string::npos)
      << "the count stands behind the records that filled the pool: " << text_;
}

TEST_F(TraceEngineOnAPipe, LosesAndCountsRecordsWithoutAReaderAndLives) {
  openReader();
  LoadedEngine engine;
  engine.send("one");
  EXPECT_THAT(readRecords(1), ElementsAre("one"));
  closeReader();
  engine.send("two");
  engine.send("three");
  openReader();
  engine.sendSurely("four");
  engine.release();
  // When the writer came to the two is not known, but each is in the file or in the count.
  EXPECT_EQ(readRecords(4).back(), "four");
}

TEST_F(TraceEngineOnAPipe, IsGivenUpAfterAWhileWhenItsFileTakesNothing) {
  openReader();
  fill();
  LoadedEngine engine;
  engine.send("one");
  const auto start = std::chrono::steady_clock::now();
  engine.release();
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(1900));
  EXPECT_LT(waited, std::chrono::seconds(30));

  // What was left behind still works off what it had, and a new start is possible.
  EXPECT_THAT(readRecords(1), ElementsAre("one"));
  LoadedEngine again;
  again.send("two");
  EXPECT_THAT(readRecords(2), ElementsAre("one", "two"));
}

}  // namespace
}  // namespace qv::tests
