#include "kit/LoadSharedLibrary.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "source/client/ITraceEngine.h"
#include "tests/doubles/ReleaseAssertions.h"
#include "tests/doubles/engine/EngineDouble.h"

namespace qv::tests {
namespace {

using kit::GetInterfaceFuncNoThrow;
using kit::IRefCounted;
using kit::StatusChain;
using kit::WString;
using kit::osdep::SharedLibrary;
using testing::ElementsAre;
using testing::IsEmpty;
using traceengine::ITraceEngine;
using Entry = EngineScript::Entry;
using EngineInterface = kit::LibraryInterface<ITraceEngine>;

constexpr auto kMissing = static_cast<std::int32_t>(0x8ABC7021U);
constexpr const char* kNotCastable =
    "kit/LoadSharedLibrary:283: false: if getInterfaceFunc() succeeds, the returned pointer should "
    "be castable to the desired interface";

WString Wide(const std::string& text) {
  return WString(text.c_str());
}

struct LoadSharedLibraryTest : testing::Test {
  EngineJournal& journal = EngineJournal::instance();
  EngineScript& script = journal.script;
  ReleaseAssertions assertions;
  StatusChain status;
  EngineInterface engine;

  LoadSharedLibraryTest() { journal.reset(); }

  void load(const std::string& file, unsigned long version = 0) {
    GetInterfaceFuncNoThrow getInterface(version, status, L"GetInterface");
    kit::LoadSharedLibrary(Wide(file), getInterface, engine);
  }

  void expectNothingHeld() {
    EXPECT_EQ(engine.interface(), nullptr);
    EXPECT_FALSE(engine.library().isLoaded());
    EXPECT_EQ(journal.count("addRef"), journal.count("release"));
  }
};

TEST_F(LoadSharedLibraryTest, GivesLibraryAndInterfaceWithOneReference) {
  load(EngineFile(kGoodEngine));
  EXPECT_EQ(status.code(), 0);
  EXPECT_TRUE(engine.library().isLoaded());
  ASSERT_NE(engine.interface(), nullptr);
  EXPECT_EQ(journal.count("addRef") - journal.count("release"), 1u);
  EXPECT_EQ(journal.count("destroyed"), 0u);
  EXPECT_THAT(assertions.all(), IsEmpty());
}

TEST_F(LoadSharedLibraryTest, KnowsAnEngineWithItsSymbolsInSightToo) {
  load(EngineFile(kVisibleEngine));
  EXPECT_NE(engine.interface(), nullptr);
  EXPECT_THAT(assertions.all(), IsEmpty());
}

TEST_F(LoadSharedLibraryTest, KnowsAnEngineWhoseSymbolsAreOutOfReach) {
  // As a host may have loaded it before, with a scope of its own.
  void* const local = ::dlopen(EngineFile(kVisibleEngine).c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(local, nullptr);
  using GetInterface = IRefCounted*(unsigned long, StatusChain&);
  auto* const getInterface = reinterpret_cast<GetInterface*>(::dlsym(local, "GetInterface"));
  const kit::SmartPtr<IRefCounted> object(getInterface(0, status));
  EXPECT_NE(kit::InterfaceCast<ITraceEngine>(object.get()), nullptr);
}

TEST_F(LoadSharedLibraryTest, GivesTheEntryPointVersionAndAFreshStatus) {
  status.clear();
  load(EngineFile(kGoodEngine), 7);
  EXPECT_EQ(journal.lines().front(), "GetInterface(7) at 80004005");
}

TEST_F(LoadSharedLibraryTest, GivesTheWholeVersionHoweverManyBitsItHas) {
  load(EngineFile(kGoodEngine), ~0UL);
  EXPECT_EQ(journal.lines().front(), "GetInterface(" + std::to_string(~0UL) + ") at 80004005");
}

TEST_F(LoadSharedLibraryTest, AcceptsAWarningAsSuccess) {
  script.entryCode = 3;
  load(EngineFile(kGoodEngine));
  EXPECT_EQ(status.code(), 3);
  EXPECT_NE(engine.interface(), nullptr);
}

TEST_F(LoadSharedLibraryTest, WithoutALibraryLeavesResultAndStatusAlone) {
  load(EngineFile("nowhere"));
  expectNothingHeld();
  EXPECT_EQ(status.code(), StatusChain::kNotSet);
  EXPECT_THAT(assertions.all(), IsEmpty());
}

TEST_F(LoadSharedLibraryTest, TellsALibraryWithoutTheEntryPointFromNoLibrary) {
  load(EngineFile(kEntrylessEngine));
  expectNothingHeld();
  EXPECT_EQ(status.code(), kMissing);
  EXPECT_THAT(journal.lines(), ElementsAre("unloaded"));
  EXPECT_THAT(assertions.all(), IsEmpty());
}

TEST_F(LoadSharedLibraryTest, DropsTheMessageWithAMissingEntryPoint) {
  StatusChain::Element element(-5);
  const WString message = L"from before";
  element.createMessage(&message);
  GetInterfaceFuncNoThrow getInterface(0, status, L"GetInterface");
  unsigned char bytes[256];
  unsigned char* end = bytes;
  element.serialize(end, bytes + sizeof bytes);
  const unsigned char zero[4] = {};
  std::copy(std::begin(zero), std::end(zero), end);
  const unsigned char* cursor = bytes;
  status.deserialize(cursor, end + sizeof zero);
  ASSERT_NE(status.current().message(), nullptr);
  SharedLibrary library(Wide(EngineFile(kEntrylessEngine)), true, false);
  EXPECT_FALSE(getInterface(library));
  EXPECT_EQ(status.code(), kMissing);
  EXPECT_EQ(status.current().message(), nullptr);
}

TEST_F(LoadSharedLibraryTest, ReleasesAtOnceWhatAFailingEntryPointGave) {
  script.entryCode = -42;
  load(EngineFile(kGoodEngine));
  expectNothingHeld();
  EXPECT_EQ(status.code(), -42);
  EXPECT_THAT(journal.lines(), ElementsAre("GetInterface(0) at 80004005", "addRef", "release",
                                           "destroyed", "unloaded"));
}

TEST_F(LoadSharedLibraryTest, TakesAnUntouchedStatusForAFailure) {
  script.entry = Entry::LeavesStatus;
  load(EngineFile(kGoodEngine));
  expectNothingHeld();
  EXPECT_EQ(status.code(), StatusChain::kNotSet);
  EXPECT_THAT(journal.lines(), ElementsAre("GetInterface(0) at 80004005", "addRef", "release",
                                           "destroyed", "unloaded"));
}

TEST_F(LoadSharedLibraryTest, HoldsNothingWhereASuccessfulEntryPointGivesNull) {
  script.entry = Entry::Nothing;
  load(EngineFile(kGoodEngine));
  expectNothingHeld();
  EXPECT_EQ(status.code(), 0);
  EXPECT_THAT(journal.lines(), ElementsAre("GetInterface(0) at 80004005", "unloaded"));
  EXPECT_THAT(assertions.all(), IsEmpty());
}

TEST_F(LoadSharedLibraryTest, RaisesAReleaseAssertionForAnotherInterfaceAndGivesItBack) {
  script.entry = Entry::OtherInterface;
  load(EngineFile(kGoodEngine));
  expectNothingHeld();
  EXPECT_EQ(status.code(), 0);
  EXPECT_THAT(assertions.all(), ElementsAre(kNotCastable));
  EXPECT_EQ(journal.count("destroyed"), 1u);
  EXPECT_EQ(journal.lines().back(), "unloaded");
}

#ifdef QV_UNTYPED_ENGINE
TEST_F(LoadSharedLibraryTest, RaisesAReleaseAssertionForAnObjectThatDoesNotKnowItsType) {
  load(EngineFile(kUntypedEngine));
  expectNothingHeld();
  EXPECT_THAT(assertions.all(), ElementsAre(kNotCastable));
  EXPECT_EQ(journal.lines().back(), "unloaded");
}
#endif

TEST_F(LoadSharedLibraryTest, KeepsAnEngineThatIsHeldWhenAnotherIsOfTheWrongKind) {
  load(EngineFile(kGoodEngine));
  ITraceEngine* const held = engine.interface();
  script.entry = Entry::OtherInterface;
  load(EngineFile(kVisibleEngine));
  EXPECT_EQ(engine.interface(), held);
  EXPECT_TRUE(held->showTagNames());
}

TEST_F(LoadSharedLibraryTest, ReplacesAnEngineThatIsHeld) {
  load(EngineFile(kGoodEngine));
  journal.clear();
  load(EngineFile(kVisibleEngine));
  std::vector<std::string> ends;
  for (const std::string& line : journal.lines()) {
    if (line == "destroyed" || line == "unloaded") ends.push_back(line);
  }
  EXPECT_THAT(ends, ElementsAre("destroyed", "unloaded"));
  EXPECT_TRUE(engine.interface()->showTagNames());
}

TEST_F(LoadSharedLibraryTest, TurnsAnExceptionOfTheEntryPointIntoAStatus) {
  script.throwsIn = "GetInterface";
  load(EngineFile(kGoodEngine));
  expectNothingHeld();
  EXPECT_EQ(status.code(), -1);
  // The exception is of a kind that only the library can destroy.
  EXPECT_THAT(journal.lines(), ElementsAre("GetInterface(0) at 80004005", "forgotten", "unloaded"));
}

TEST_F(LoadSharedLibraryTest, HoldsNothingThatRefusesReferences) {
  script.throwsIn = "addRef";
  load(EngineFile(kGoodEngine));
  EXPECT_EQ(engine.interface(), nullptr);
  EXPECT_THAT(journal.lines(),
              ElementsAre("GetInterface(0) at 80004005", "addRef", "forgotten", "unloaded"));
}

TEST_F(LoadSharedLibraryTest, SurvivesAnEngineThatThrowsWhenItIsReleased) {
  script.throwsIn = "release";
  script.entryCode = -42;
  load(EngineFile(kGoodEngine));
  EXPECT_EQ(engine.interface(), nullptr);
  EXPECT_THAT(journal.lines(), ElementsAre("GetInterface(0) at 80004005", "addRef", "release",
                                           "forgotten", "unloaded"));
}

TEST(InterfaceCast, OfNothingGivesNothing) {
  EXPECT_EQ(kit::InterfaceCast<ITraceEngine>(nullptr), nullptr);
}

TEST(GetInterfaceFuncNoThrow, ResetsTheStatus) {
  StatusChain status;
  status.clear();
  const GetInterfaceFuncNoThrow getInterface(0, status, L"GetInterface");
  EXPECT_EQ(status.code(), StatusChain::kNotSet);
}

TEST(GetInterfaceFuncNoThrow, FindsNothingInALibraryThatIsNotLoaded) {
  StatusChain status;
  GetInterfaceFuncNoThrow getInterface(0, status, L"GetInterface");
  SharedLibrary none;
  EXPECT_FALSE(getInterface(none));
  EXPECT_EQ(status.code(), kMissing);
}

TEST(GetInterfaceFuncNoThrow, LooksForTheNameThatItWasGiven) {
  EngineJournal::instance().reset();
  StatusChain status;
  GetInterfaceFuncNoThrow getInterface(0, status, L"GetSomethingElse");
  SharedLibrary library(Wide(EngineFile(kEntrylessEngine)), true, false);
  EXPECT_TRUE(getInterface(library));
  EXPECT_EQ(status.code(), 0);
}

}  // namespace
}  // namespace qv::tests
