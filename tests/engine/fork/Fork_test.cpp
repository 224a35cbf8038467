#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/ChildProcess.h"
#include "tests/engine/LoadedEngine.h"
#include "tests/engine/TraceFile.h"

namespace qv::tests {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

class Fork : public testing::Test {
 protected:
  TraceFile file_;
};

TEST_F(Fork, LetsTheChildWriteItsOwnRecordsAndTheParentThoseBefore) {
  LoadedEngine engine;
  engine.send("parent, before");
  const pid_t child = InChild([&] {
    engine.send("child");
    engine.release();
  });
  EXPECT_TRUE(EndsWell(child));
  engine.send("parent, after");
  engine.release();
  EXPECT_THAT(file_.records(),
              testing::UnorderedElementsAre("parent, before", "child", "parent, after"));
}

TEST_F(Fork, StartsNothingInAChildThatDoesNotTrace) {
  LoadedEngine engine;
  engine.send("parent");
  const pid_t child = InChild([&] { engine.release(); });
  EXPECT_TRUE(EndsWell(child));
  engine.release();
  EXPECT_THAT(file_.records(), ElementsAre("parent"));
}

TEST_F(Fork, MayGoOnInTheChild) {
  LoadedEngine engine;
  engine.send("parent");
  const pid_t child = InChild([&] {
    engine.send("child");
    const pid_t grandchild = InChild([&] {
      engine.send("grandchild");
      engine.release();
    });
    const bool isWell = static_cast<bool>(EndsWell(grandchild));
    engine.release();
    if (!isWell) ::_exit(1);
  });
  EXPECT_TRUE(EndsWell(child));
  engine.release();
  EXPECT_THAT(file_.records(), testing::UnorderedElementsAre("parent", "child", "grandchild"));
}

TEST_F(Fork, GivesTheChildAllBlocksButThoseItsThreadHolds) {
  ::setenv("QV_TRACE_BLOCKS", "4", 1);
  LoadedEngine engine;
  traceengine::LoggingBlock* own = engine->getFreeBlock();
  std::thread([&] { EXPECT_NE(engine->getFreeBlock(), nullptr); }).join();
  const pid_t child = InChild([&] {
    int free = 0;
    while (engine->getFreeBlock() != nullptr)
      ++free;
    Fill(*own, "held over the fork");
    engine->sendBlock(own);
    engine.release();
    ::_exit(free == 3 ? 0 : 1);
  });
  EXPECT_TRUE(EndsWell(child));
  engine.release();
  EXPECT_THAT(file_.records(), ElementsAre("held over the fork"));
}

// A prefork server whose threads trace all the while.
TEST_F(Fork, OfATracingHostAgainAndAgainNeverHangsOrRepeats) {
  constexpr int kChildren = 60;
  constexpr int kThreads = 4;
  ::setenv("QV_TRACE_BLOCKS", "32", 1);
  LoadedEngine engine;
  std::atomic<bool> isOver{false};
  std::vector<int> sent(kThreads, 0);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      int& count = sent[static_cast<std::size_t>(i)];
      while (!isOver)
        count += engine.send("parent " + std::to_string(i) + ":" + std::to_string(count)) ? 1 : 0;
    });
  }
  for (int i = 0; i < kChildren; ++i) {
    EXPECT_TRUE(EndsWell(InChild([&] {
      engine.sendSurely("child " + std::to_string(i));
      engine.release();
    })));
  }
  isOver = true;
  for (std::thread& thread : threads)
    thread.join();
  engine.release();

  const auto counts = Counts(file_.records());
  EXPECT_THAT(counts, Each(Pair(testing::_, 1)));
  std::size_t expected = kChildren;
  for (const int count : sent)
    expected += static_cast<std::size_t>(count);
  EXPECT_THAT(counts, SizeIs(expected));
  for (int i = 0; i < kChildren; ++i)
    EXPECT_EQ(counts.count("child " + std::to_string(i)), 1u);
}

/// That of the test that has a handler, which stays for all that come after it.
LoadedEngine* g_handlersEngine = nullptr;

void TraceInChild() {
  if (g_handlersEngine != nullptr) g_handlersEngine->sendSurely("handler");
}

// A host may trace in a handler that it had for its children before there was an engine: that one
// is called before any handler of the engine's.
TEST_F(Fork, LetsTheHostsOwnHandlerInTheChildTrace) {
  constexpr int kChildren = 100;
  ASSERT_EQ(pthread_atfork(nullptr, nullptr, &TraceInChild), 0);
  LoadedEngine engine;
  g_handlersEngine = &engine;
  std::atomic<bool> isOver{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!isOver)
        engine.send("parent");
    });
  }
  for (int i = 0; i < kChildren; ++i) {
    EXPECT_TRUE(EndsWell(InChild([&] {
      engine.sendSurely("child");
      engine.release();
    })));
  }
  isOver = true;
  for (std::thread& thread : threads)
    thread.join();
  g_handlersEngine = nullptr;
  engine.release();
  const auto counts = Counts(file_.records());
  EXPECT_EQ(counts.at("handler"), kChildren);
  EXPECT_EQ(counts.at("child"), kChildren);
}

// Clients come and go in other threads while the host forks.
TEST_F(Fork, WhileOtherThreadsLoadAndReleaseTheEngineLeavesItUsable) {
  constexpr int kChildren = 40;
  std::atomic<bool> isOver{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!isOver)
        LoadedEngine().sendSurely("parent");
    });
  }
  auto* const entryPoint = LoadedEngine::EntryPoint();
  for (int i = 0; i < kChildren; ++i) {
    EXPECT_TRUE(EndsWell(InChild([&] {
      kit::StatusChain status;
      auto* engine = dynamic_cast<traceengine::ITraceEngine*>(entryPoint(0, status));
      engine->addRef();
      traceengine::LoggingBlock* block = engine->getFreeBlock();
      Fill(*block, "child");
      engine->sendBlock(block);
      // What the threads of the parent held is nobody's here.
      for (int references = 0; references < 4; ++references)
        engine->release();
    })));
  }
  isOver = true;
  for (std::thread& thread : threads)
    thread.join();
  const auto counts = Counts(file_.records());
  EXPECT_EQ(counts.at("child"), kChildren);
}

/// Takes from this process, for good, what it needs to start threads.
void AllowNoThreads() {
  const rlimit none{0, 0};
  if (::setrlimit(RLIMIT_NPROC, &none) != 0) ::_exit(2);
  // The limit is none for those who may pass over it.
  constexpr unsigned kNobody = 65534;
  if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) ::_exit(3);
}

TEST_F(Fork, IntoAChildThatMayStartNoThreadsLosesNothingAtItsEnd) {
  ASSERT_EQ(::chmod(file_.directory().path().c_str(), 0777), 0);
  ::setenv("QV_TRACE_BLOCKS", "10", 1);
  EXPECT_TRUE(EndsWell(InChild([] {
    AllowNoThreads();
    LoadedEngine engine;
    for (int i = 0; i < 15; ++i)
      engine.send(std::to_string(i));
    engine.release();
  })));
  EXPECT_THAT(file_.records(), SizeIs(10));
  EXPECT_EQ(file_.dropped(), 5u);
}

/// A pipe that is to become standard error, with room for one write.
class SmallPipe {
 public:
  SmallPipe() {
    if (::pipe(ends_) != 0 || ::fcntl(ends_[0], F_SETPIPE_SZ, 4096) == -1) ::_exit(4);
  }
  SmallPipe(const SmallPipe&) = delete;
  SmallPipe& operator=(const SmallPipe&) = delete;
  ~SmallPipe() {
    ::close(ends_[0]);
    ::close(ends_[1]);
  }

  void becomeStandardError() const { ::dup2(ends_[1], STDERR_FILENO); }
  /// All that is in it.
  std::string read() const {
    ::fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    char bytes[4096];
    const ssize_t size = ::read(ends_[0], bytes, sizeof(bytes));
    return size > 0 ? std::string(bytes, static_cast<std::size_t>(size)) : std::string();
  }

 private:
  int ends_[2];
};

TEST_F(Fork, IntoAChildThatMayStartNoThreadsSurvivesItsExitWhenNobodyReadsItsTrace) {
  ::setenv("QV_TRACE_OUTPUT", "", 1);
  EXPECT_EXIT(
      {
        SmallPipe().becomeStandardError();
        AllowNoThreads();
        LoadedEngine engine;
        engine.send("record");
        engine.forget();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(Fork, IntoAChildThatMayStartNoThreadsWaitsOnlyAWhileForAFileThatTakesNothing) {
  ::setenv("QV_TRACE_OUTPUT", "", 1);
  const SmallPipe pipe;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EXIT(
      {
        ::alarm(20);
        pipe.becomeStandardError();
        AllowNoThreads();
        LoadedEngine engine;
        for (int i = 0; i < 1000; ++i)
          engine.send("record");
        engine.forget();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
  EXPECT_THAT(file_.recordsIn(pipe.read()),
              testing::AllOf(testing::Not(SizeIs(0)), Each("record")));
}

TEST_F(Fork, IntoAChildThatTracesNothingAndExitsWritesNothingOfItsParent) {
  LoadedEngine engine;
  for (int i = 0; i < 500; ++i)
    engine.sendSurely("record");
  EXPECT_EXIT(std::exit(0), testing::ExitedWithCode(0), "");
  engine.release();
  EXPECT_THAT(file_.records(), SizeIs(500));
}

TEST_F(Fork, IntoAChildThatExitsLosesNothingOfWhatItTraced) {
  LoadedEngine engine;
  engine.send("parent");
  EXPECT_EXIT(
      {
        engine.send("child");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  engine.release();
  EXPECT_THAT(file_.records(), testing::UnorderedElementsAre("parent", "child"));
}

}  // namespace
}  // namespace qv::tests
