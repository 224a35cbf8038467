#include "source/client/MyTraceLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "kit/StatusChain.h"
#include "source/client/OpenTagFile.h"
#include "source/utils/LoggingBlock.h"
#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/MyTraceLoggerProbe.h"
#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/engine/EngineDouble.h"

// Where memory or the system fails, tracing is lost and nothing else.

namespace {

bool g_StreamsFail = false;

}  // namespace

extern "C" {
std::FILE* __real_fdopen(int descriptor, const char* mode);

std::FILE* __wrap_fdopen(int descriptor, const char* mode) {
  if (!g_StreamsFail) return __real_fdopen(descriptor, mode);
  errno = ENOMEM;
  return nullptr;
}
}

namespace qv::tests {
namespace {

using kit::StatusChain;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using traceengine::MyTraceLogger;
using Probe = traceengine::MyTraceLoggerProbe;

struct FailingLogger : testing::Test {
  InstalledEngine installed;
  EngineJournal& journal = InstalledEngine::journal();
  kit::String name = "module";

  FailingLogger() { installed.writeTags("Name : 5 : yes\nOther : 5 : no\nName : 6 : yes\n"); }

  struct Outcomes {
    int thrown = 0;
    int uninitialized = 0;
    int initialized = 0;
    int complete = 0;
  };

  /// Makes a logger while memory fails, and uses it when memory is back.
  bool attempt(FailingAllocator& memory, Outcomes& outcomes) {
    alignas(MyTraceLogger) unsigned char place[sizeof(MyTraceLogger)];
    MyTraceLogger* logger = nullptr;
    try {
      logger = new (place) MyTraceLogger(name);
    } catch (const std::bad_alloc&) {
      ++outcomes.thrown;
    }
    memory.Relent();
    if (logger == nullptr) return false;
    journal.clear();
    logger->XTraceError("f", "message");
    EXPECT_EQ(journal.records().size(), Probe::isInitialized(*logger) ? 1U : 0U);
    ++(Probe::isInitialized(*logger) ? outcomes.initialized : outcomes.uninitialized);
    const bool complete = logger->XTraceTagIsEnabled(6) && !logger->XTraceTagIsEnabled(5);
    if (complete) ++outcomes.complete;
    logger->~MyTraceLogger();
    return complete;
  }
};

TEST_F(FailingLogger, ComesIntoBeingOrThrowsWhateverAllocationFails) {
  Outcomes outcomes;
  for (std::uint32_t n = 1;; ++n) {
    ASSERT_LT(n, 10000u);
    bool reached = false;
    {
      FailingAllocator memory;
      memory.IncludeNew();
      memory.FailCall(n);
      attempt(memory, outcomes);
      reached = memory.sizes().size() >= n;
    }
    if (!reached) break;
  }
  EXPECT_GT(outcomes.thrown, 0);
  EXPECT_GT(outcomes.uninitialized, 0);
  EXPECT_GT(outcomes.initialized, 1);
  EXPECT_GT(outcomes.complete, 1);
}

TEST_F(FailingLogger, ComesIntoBeingOrThrowsFromWhateverAllocationOnMemoryIsGone) {
  Outcomes outcomes;
  for (std::uint32_t n = 1;; ++n) {
    ASSERT_LT(n, 10000u);
    FailingAllocator memory;
    memory.IncludeNew();
    memory.FailFrom(n);
    if (attempt(memory, outcomes)) break;
  }
  EXPECT_GT(outcomes.thrown, 0);
  EXPECT_GT(outcomes.uninitialized, 0);
  EXPECT_GT(outcomes.initialized, 0);
}

TEST_F(FailingLogger, WithoutMemoryForTheTableStaysUninitializedAndSaysSoInErrno) {
  FailingAllocator memory;
  memory.IncludeNew();
  memory.FailSizesFrom(256 * sizeof(void*));
  errno = 0;
  MyTraceLogger logger(name);
  EXPECT_EQ(errno, 12);
  memory.Relent();
  EXPECT_FALSE(Probe::isInitialized(logger));
  EXPECT_FALSE(Probe::hasTable(logger));
  EXPECT_NE(Probe::engine(logger), nullptr);
  journal.clear();
  logger.XTraceError("f", "message");
  EXPECT_FALSE(logger.XTraceTagIsEnabled(6));
  EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(FailingLogger, KeepsTheTagThatIsThereWhenItsReplacementFindsNoMemory) {
  MyTraceLogger logger(name);
  installed.directory().write("lines", "Late : 6 : no\nNew : 7 : yes\nLast : 6 : no\n");
  const traceengine::TagFile file =
      traceengine::OpenTagFile(installed.directory().path("lines").c_str());
  ASSERT_NE(file, nullptr);
  {
    FailingAllocator memory;
    memory.IncludeNew();
    memory.FailFrom(1);
    EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
    EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  }
  EXPECT_STREQ(Probe::tag(logger, 6)->name(), "Name");
  EXPECT_TRUE(logger.XTraceTagIsEnabled(6));
  EXPECT_EQ(Probe::tag(logger, 7), nullptr);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_FALSE(logger.XTraceTagIsEnabled(6));
}

TEST_F(FailingLogger, TakesNoMemoryForARecordOfItsOwn) {
  MyTraceLogger logger(name);
  const std::string message(400, 'm');
  const auto sizesOf = [&](const std::function<void()>& work) {
    journal.clear();
    FailingAllocator memory;
    memory.IncludeNew();
    work();
    memory.Relent();
    return memory.sizes();
  };
  const auto trace = [&] { logger.XTraceError("f", "%s", message.c_str()); };
  trace();  // the engine's lists grow the first time
  const std::string line = "t=0123456789AB | ERROR | module | f | " + message;
  EXPECT_EQ(sizesOf(trace), sizesOf([&] {
              traceengine::LoggingBlock* const block = Probe::engine(logger)->getFreeBlock();
              StatusChain status;
              status.clear();
              block->write(line.c_str(), static_cast<std::int32_t>(line.size() + 1), status);
              Probe::engine(logger)->sendBlock(block);
            }));
  EXPECT_THAT(journal.records(), ElementsAre(HasSubstr(message)));
}

TEST_F(FailingLogger, OfADisabledTagTakesNoMemory) {
  MyTraceLogger logger(name);
  FailingAllocator memory;
  memory.IncludeNew();
  XTraceLog(&logger, 5, "f", "%d", 1);
  XTraceLog(&logger, 7, "f", "%d", 1);
  memory.Relent();
  EXPECT_THAT(memory.sizes(), IsEmpty());
}

TEST_F(FailingLogger, HasNoTagsWhereTheFileMayNotBeRead) {
  StagedSystemCalls calls;
  calls.fail(SystemCall::Open, EACCES);
  const MyTraceLogger logger(name);
  EXPECT_EQ(calls.calls(SystemCall::Open), 1u);
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_FALSE(logger.XTraceTagIsEnabled(6));
}

TEST_F(FailingLogger, OpensTheFileAgainWhenASignalComesInBetween) {
  StagedSystemCalls calls;
  calls.fail(SystemCall::Open, EINTR, 3);
  const MyTraceLogger logger(name);
  EXPECT_EQ(calls.calls(SystemCall::Open), 4u);
  EXPECT_TRUE(logger.XTraceTagIsEnabled(6));
}

TEST_F(FailingLogger, ClosesTheFileWhenThereIsNoStreamForIt) {
  const int before = ::dup(0);
  ::close(before);
  g_StreamsFail = true;
  EXPECT_EQ(traceengine::OpenTagFile(installed.directory().path("module.cfg").c_str()), nullptr);
  g_StreamsFail = false;
  const int after = ::dup(0);
  EXPECT_EQ(after, before);
  ::close(after);
}

}  // namespace
}  // namespace qv::tests
