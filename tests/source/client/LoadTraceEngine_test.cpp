#include "source/client/LoadTraceEngine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/doubles/ReleaseAssertions.h"
#include "tests/doubles/engine/EngineDouble.h"

namespace qv::tests {
namespace {

using kit::StatusChain;
using kit::WString;
using testing::ElementsAre;
using testing::IsEmpty;
using traceengine::ITraceEngine;
using traceengine::LoadTraceEngine;
using traceengine::LoadTraceEngineImpl;

constexpr auto kNoEngine = static_cast<std::int32_t>(0x8ABC7021U);

struct LoadTraceEngineTest : testing::Test {
  EngineJournal& journal = EngineJournal::instance();
  EngineScript& script = journal.script;
  StagedLoader loader;
  ReleaseAssertions assertions;
  StatusChain status;
  kit::LibraryInterface<ITraceEngine> engine;

  LoadTraceEngineTest() { journal.reset(); }
};

TEST_F(LoadTraceEngineTest, LooksAmongTheFrameworksFirstAndStopsThere) {
  loader.put(kFrameworksPlace, EngineFile(kGoodEngine));
  loader.put(kBarePlace, EngineFile(kVisibleEngine));
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_NE(engine.interface(), nullptr);
  EXPECT_THAT(loader.names(), ElementsAre(kFrameworksPlace));
}

TEST_F(LoadTraceEngineTest, TakesAWarningForSuccessAndStops) {
  script.entryCode = 3;
  loader.put(kFrameworksPlace, EngineFile(kGoodEngine));
  loader.put(kBarePlace, EngineFile(kVisibleEngine));
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), 3);
  EXPECT_NE(engine.interface(), nullptr);
  EXPECT_THAT(loader.names(), ElementsAre(kFrameworksPlace));
}

TEST_F(LoadTraceEngineTest, ThenLooksForTheBareName) {
  loader.put(kBarePlace, EngineFile(kGoodEngine));
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_NE(engine.interface(), nullptr);
  EXPECT_THAT(loader.names(), ElementsAre(kFrameworksPlace, kBarePlace));
}

TEST_F(LoadTraceEngineTest, HoldsExactlyOneReference) {
  loader.put(kBarePlace, EngineFile(kGoodEngine));
  LoadTraceEngine(engine, status);
  EXPECT_EQ(journal.count("addRef") - journal.count("release"), 1u);
}

TEST_F(LoadTraceEngineTest, AsksForVersionZeroWithAFreshStatus) {
  loader.put(kBarePlace, EngineFile(kGoodEngine));
  status.clear();
  LoadTraceEngine(engine, status);
  EXPECT_EQ(journal.lines().front(), "GetInterface(0) at 80004005");
}

TEST_F(LoadTraceEngineTest, WithoutALibraryLeavesTheStatusAtReset) {
  status.clear();
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), StatusChain::kNotSet);
  EXPECT_EQ(engine.interface(), nullptr);
  EXPECT_THAT(loader.requests(), ElementsAre(kFrameworksPlace, kBarePlace));
}

TEST_F(LoadTraceEngineTest, AFrameworkWithoutTheEntryPointIsFollowedByTheBareName) {
  loader.put(kFrameworksPlace, EngineFile(kEntrylessEngine));
  loader.put(kBarePlace, EngineFile(kGoodEngine));
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_NE(engine.interface(), nullptr);
  EXPECT_EQ(journal.count("GetInterface(0) at 80004005"), 1u);
}

TEST_F(LoadTraceEngineTest, WhatTheFirstPlaceWasLackingIsForgottenAtTheSecond) {
  loader.put(kFrameworksPlace, EngineFile(kEntrylessEngine));
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), StatusChain::kNotSet);
}

TEST_F(LoadTraceEngineTest, TheStatusIsThatOfTheSecondPlace) {
  loader.put(kBarePlace, EngineFile(kEntrylessEngine));
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), kNoEngine);
  EXPECT_EQ(engine.interface(), nullptr);
}

TEST_F(LoadTraceEngineTest, AnEntryPointThatFailsLeavesItsCode) {
  loader.put(kBarePlace, EngineFile(kGoodEngine));
  script.entryCode = -77;
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), -77);
  EXPECT_EQ(engine.interface(), nullptr);
}

TEST_F(LoadTraceEngineTest, AFrameworkThatThrowsIsFollowedByTheBareName) {
  loader.put(kFrameworksPlace, EngineFile(kVisibleEngine));
  loader.put(kBarePlace, EngineFile(kGoodEngine));
  script.throwsIn = "GetInterface";
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), -1);
  EXPECT_THAT(loader.requests(), ElementsAre(kFrameworksPlace, kBarePlace));
}

TEST_F(LoadTraceEngineTest, AnObjectOfAnotherKindEndsTheSearchWithoutAnEngine) {
  loader.put(kFrameworksPlace, EngineFile(kGoodEngine));
  loader.put(kBarePlace, EngineFile(kVisibleEngine));
  script.entry = EngineScript::Entry::OtherInterface;
  LoadTraceEngine(engine, status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_EQ(engine.interface(), nullptr);
  EXPECT_EQ(assertions.all().size(), 1u);
  EXPECT_THAT(loader.names(), ElementsAre(kFrameworksPlace));
}

TEST_F(LoadTraceEngineTest, AnAbsoluteNameIsTriedOnceAndOnlyThere) {
  LoadTraceEngineImpl<ITraceEngine>(L"/opt/trace/myengine.so", 0, engine, status);
  EXPECT_THAT(loader.requests(), ElementsAre("/opt/trace/myengine.so"));
  EXPECT_EQ(status.code(), StatusChain::kNotSet);
}

TEST_F(LoadTraceEngineTest, AnAbsoluteNameIsLoadedFromWhereItSays) {
  loader.put("/opt/trace/myengine.so", EngineFile(kGoodEngine));
  LoadTraceEngineImpl<ITraceEngine>(L"/opt/trace/myengine.so", 5, engine, status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_NE(engine.interface(), nullptr);
  EXPECT_EQ(journal.lines().front(), "GetInterface(5) at 80004005");
  EXPECT_THAT(loader.names(), ElementsAre("/opt/trace/myengine.so"));
}

TEST_F(LoadTraceEngineTest, AnAbsoluteNameWithoutTheEntryPointIsNotLookedForElsewhere) {
  loader.put("/opt/trace/myengine.so", EngineFile(kEntrylessEngine));
  LoadTraceEngineImpl<ITraceEngine>(L"/opt/trace/myengine.so", 0, engine, status);
  EXPECT_EQ(status.code(), kNoEngine);
  EXPECT_THAT(loader.requests(), ElementsAre("/opt/trace/myengine.so"));
}

TEST_F(LoadTraceEngineTest, ARelativeNameWithADirectoryIsLookedForBelowTheFrameworksToo) {
  LoadTraceEngineImpl<ITraceEngine>(L"vendor/myengine.so", 0, engine, status);
  EXPECT_THAT(loader.requests(),
              ElementsAre("/Library/Frameworks/vendor/myengine.so", "vendor/myengine.so"));
}

}  // namespace
}  // namespace qv::tests
