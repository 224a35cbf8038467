#include "kit/LibraryInterface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kit/LoadSharedLibrary.h"
#include "source/client/ITraceEngine.h"
#include "tests/doubles/engine/EngineDouble.h"

namespace qv::tests {
namespace {

using kit::SmartPtr;
using kit::StatusChain;
using kit::osdep::SharedLibrary;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using traceengine::ITraceEngine;
using EngineInterface = kit::LibraryInterface<ITraceEngine>;

/// References to the engine that nobody has given back.
std::size_t HeldReferences() {
  const EngineJournal& journal = InstalledEngine::journal();
  return journal.count("addRef") - journal.count("release");
}

struct LibraryInterfaceTest : testing::Test {
  InstalledEngine installed;
  EngineJournal& journal = InstalledEngine::journal();

  void load(EngineInterface& result) const {
    StatusChain status;
    kit::GetInterfaceFuncNoThrow getInterface(0, status, L"GetInterface");
    kit::LoadSharedLibrary(L"qv_traceengine", getInterface, result);
  }
};

TEST_F(LibraryInterfaceTest, HoldsNothingByDefault) {
  const EngineInterface nothing;
  EXPECT_FALSE(nothing.library().isLoaded());
  EXPECT_EQ(nothing.interface(), nullptr);
}

TEST_F(LibraryInterfaceTest, HoldsLibraryAndInterfaceGiven) {
  EngineInterface loaded;
  load(loaded);
  const EngineInterface held(loaded.library(), SmartPtr<ITraceEngine>(loaded.interface()));
  EXPECT_TRUE(held.library().isLoaded());
  EXPECT_EQ(held.interface(), loaded.interface());
  EXPECT_EQ(HeldReferences(), 2u);
}

TEST_F(LibraryInterfaceTest, HoldsAnInterfaceOfNoLibraryToo) {
  EngineInterface loaded;
  load(loaded);
  const EngineInterface held(SharedLibrary(), SmartPtr<ITraceEngine>(loaded.interface()));
  EXPECT_FALSE(held.library().isLoaded());
  EXPECT_EQ(held.interface(), loaded.interface());
}

TEST_F(LibraryInterfaceTest, ReleasesTheInterfaceBeforeTheLibraryIsClosed) {
  {
    EngineInterface loaded;
    load(loaded);
    journal.clear();
  }
  EXPECT_THAT(journal.lines(), ElementsAre("release", "destroyed", "unloaded"));
}

TEST_F(LibraryInterfaceTest, UnloadReleasesTheInterfaceFirstAndLeavesNothing) {
  EngineInterface loaded;
  load(loaded);
  journal.clear();
  loaded.unload();
  EXPECT_THAT(journal.lines(), ElementsAre("release", "destroyed", "unloaded"));
  EXPECT_FALSE(loaded.library().isLoaded());
  EXPECT_EQ(loaded.interface(), nullptr);
}

TEST_F(LibraryInterfaceTest, CopiesKeepTheCodeInMemory) {
  EngineInterface copy;
  {
    EngineInterface loaded;
    load(loaded);
    const EngineInterface second(loaded);
    copy = second;
    EXPECT_EQ(HeldReferences(), 3u);
  }
  EXPECT_EQ(HeldReferences(), 1u);
  EXPECT_THAT(journal.lines(), Not(Contains("unloaded")));
  EXPECT_TRUE(copy.interface()->showTagNames());
}

TEST_F(LibraryInterfaceTest, AssignmentLetsTheFormerInterfaceGoBeforeItsLibrary) {
  EngineInterface held;
  load(held);
  journal.clear();
  held = EngineInterface();
  EXPECT_THAT(journal.lines(), ElementsAre("release", "destroyed", "unloaded"));
}

TEST_F(LibraryInterfaceTest, AssignmentToItselfKeepsWhatItHolds) {
  EngineInterface held;
  load(held);
  const EngineInterface& same = held;
  held = same;
  EXPECT_EQ(HeldReferences(), 1u);
  EXPECT_TRUE(held.interface()->showTagNames());
}

TEST_F(LibraryInterfaceTest, ACopyThatFindsTheLibraryNoMoreTakesNoInterfaceEither) {
  EngineInterface loaded;
  load(loaded);
  installed.loader().remove(kBarePlace);
  const EngineInterface copy(loaded);
  EXPECT_FALSE(copy.library().isLoaded());
  EXPECT_EQ(copy.interface(), nullptr);
  EXPECT_EQ(HeldReferences(), 1u);
}

}  // namespace
}  // namespace qv::tests
