#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/LoadedEngine.h"
#include "tests/engine/TraceFile.h"

namespace qv::tests {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

/// Runs work in a child process, which ends then without any of its exit handlers.
template <typename Work>
pid_t InChild(Work work) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  work();
  ::_exit(0);
}

/// Whether a child process ended by itself and well.
testing::AssertionResult EndsWell(pid_t child) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child) return testing::AssertionFailure() << "no child";
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "status " << status;
}

class Processes : public testing::Test {
 protected:
  TraceFile file_;
};

TEST_F(Processes, ThatShareAFileMixNoLines) {
  constexpr int kProcesses = 4;
  constexpr int kRecords = 2000;
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) {
    children.push_back(InChild([i] {
      LoadedEngine engine;
      for (int n = 0; n < kRecords; ++n)
        engine.sendSurely(std::to_string(i) + ":" + std::to_string(n) + std::string(n % 450, '.'));
      engine.release();
    }));
  }
  for (const pid_t child : children)
    EXPECT_TRUE(EndsWell(child));
  const auto counts = Counts(file_.records());
  EXPECT_THAT(counts, SizeIs(kProcesses * kRecords));
  EXPECT_THAT(counts, Each(Pair(testing::_, 1)));
}

TEST_F(Processes, ThatWereForkedOffWriteTheirOwnRecordsAndLeaveTheParentsToIt) {
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

TEST_F(Processes, ThatWereForkedOffNeedNoThreadUntilTheyTrace) {
  LoadedEngine engine;
  engine.send("parent");
  const pid_t child = InChild([&] { engine.release(); });
  EXPECT_TRUE(EndsWell(child));
  engine.release();
  EXPECT_THAT(file_.records(), ElementsAre("parent"));
}

TEST_F(Processes, ThatWereForkedOffMayForkThemselves) {
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

TEST_F(Processes, ThatWereForkedOffHaveAllBlocksButThoseTheirThreadHolds) {
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
TEST_F(Processes, ForkedOffAgainAndAgainFromATracingHostNeverHangOrRepeat) {
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

// Clients come and go in other threads while the host forks.
TEST_F(Processes, ForkedOffWhileOthersLoadAndReleaseTheEngineCanLoadIt) {
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

}  // namespace
}  // namespace qv::tests
