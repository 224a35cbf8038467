#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "source/client/LoadTraceEngine.h"
#include "source/client/MyTraceLogger.h"
#include "source/utils/LoggingBlock.h"
#include "tests/doubles/ObjectLayout.h"
#include "tests/doubles/engine/EngineDouble.h"

// Objects of an engine in plain C in our hands: their tables are made by hand, of what layout.h
// says.

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using traceengine::ILoggingBlockFactory;
using traceengine::ITraceEngine;
using traceengine::LoggingBlock;
using traceengine::MyTraceLogger;

struct PlainEngine : testing::Test {
  InstalledEngine installed{kPlainEngine};
  EngineJournal& journal = InstalledEngine::journal();
  EngineScript& script = InstalledEngine::script();
};

TEST_F(PlainEngine, IsHeldAskedOnceAndGivenBack) {
  { const MyTraceLogger logger("module"); }
  EXPECT_EQ(journal.count("addRef"), journal.count("release"));
  EXPECT_EQ(journal.count("destroyed"), 1U);
  EXPECT_EQ(journal.count("showTagNames"), 1U);
  EXPECT_EQ(journal.count("getConfigDirectory"), 1U);
  EXPECT_EQ(journal.lines().back(), "unloaded");
}

TEST_F(PlainEngine, GetsTheRecordsOfTheTagsInItsDirectory) {
  installed.writeTags("Certificate : 5 : yes\n");
  MyTraceLogger logger("module");
  journal.clear();
  logger.XTraceLog(5, "f", "message %d", 1);
  logger.XTraceError("f", "failed");
  EXPECT_THAT(journal.lines(), ElementsAre("getFreeBlock", "giveOut", "sendBlock", "getFreeBlock",
                                           "giveOut", "sendBlock"));
  EXPECT_THAT(journal.records(), ElementsAre(EndsWith(" | module | Certificate | f | message 1"),
                                             EndsWith(" | ERROR | module | f | failed")));
}

TEST_F(PlainEngine, MayWishForNoTagNames) {
  installed.writeTags("Certificate : 5 : yes\n");
  script.showTagNames = false;
  MyTraceLogger logger("module");
  logger.XTraceLog(5, "f", "message");
  EXPECT_THAT(journal.records(), ElementsAre(EndsWith(" | module | f | message")));
}

TEST_F(PlainEngine, HearsOfARecordForWhichItHadNoBlock) {
  MyTraceLogger logger("module");
  journal.clear();
  script.hasBlocks = false;
  logger.XTraceError("f", "lost");
  EXPECT_THAT(journal.lines(), ElementsAre("getFreeBlock", "noteDroppedRecord"));
}

struct PlainBlock : PlainEngine {
  PlainBlock() {
    kit::StatusChain status;
    LoadTraceEngine(engine, status);
    journal.clear();
  }

  kit::LibraryInterface<ITraceEngine> engine;
};

TEST_F(PlainBlock, GoesBackToItsFactoryWhichGivesOutOthers) {
  LoggingBlock* const block = engine.interface()->getFreeBlock();
  auto* const factory =
      reinterpret_cast<ILoggingBlockFactory*>(LayoutOf<LoggingBlockLayout>(*block).factory);
  block->returnToFactory();
  factory->giveOut()->returnToFactory();
  EXPECT_THAT(journal.lines(),
              ElementsAre("getFreeBlock", "giveOut", "takeBack", "giveOut", "takeBack"));
}

TEST_F(PlainBlock, IsEndedAndDeletedByItsOwnOperations) {
  LoggingBlock* const block = engine.interface()->getFreeBlock();
  block->~LoggingBlock();
  delete block;
  EXPECT_THAT(journal.lines(),
              ElementsAre("getFreeBlock", "giveOut", "block ended", "block deleted"));
}

}  // namespace
}  // namespace qv::tests
