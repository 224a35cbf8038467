#include "source/client/MyTraceLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/doubles/MyTraceLoggerProbe.h"
#include "tests/doubles/ReleaseAssertions.h"
#include "tests/doubles/engine/EngineDouble.h"

// How a logger comes into being, what it holds, and how it goes.

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using traceengine::MyTraceLogger;
using traceengine::XTraceError;
using traceengine::XTraceLog;
using traceengine::XTraceTagIsEnabled;
using Entry = EngineScript::Entry;
using Probe = traceengine::MyTraceLoggerProbe;

struct MyTraceLoggerTest : testing::Test {
  InstalledEngine installed;
  EngineJournal& journal = InstalledEngine::journal();
  EngineScript& script = InstalledEngine::script();
  ReleaseAssertions assertions;

  /// A logger without an engine, which does nothing whatever is asked of it.
  void expectUninitialized(const MyTraceLogger& constLogger) {
    auto& logger = const_cast<MyTraceLogger&>(constLogger);
    EXPECT_FALSE(Probe::isInitialized(logger));
    EXPECT_FALSE(Probe::hasTable(logger));
    EXPECT_EQ(Probe::engine(logger), nullptr);
    EXPECT_TRUE(Probe::showTagNames(logger));
    EXPECT_FALSE(logger.XTraceTagIsEnabled(5));
    journal.clear();
    logger.XTraceLog(5, "f", "message");
    logger.XTraceError("f", "message");
    EXPECT_THAT(journal.lines(), IsEmpty());
  }
};

TEST_F(MyTraceLoggerTest, AsksTheEngineForTagNamesFirstAndThenForTheDirectory) {
  { const MyTraceLogger logger("module"); }
  std::vector<std::string> operations;
  for (const std::string& line : journal.lines()) {
    if (line != "addRef" && line != "release") operations.push_back(line);
  }
  EXPECT_THAT(operations, ElementsAre("GetInterface(0) at 80004005", "showTagNames",
                                      "getConfigDirectory", "destroyed", "unloaded"));
}

TEST_F(MyTraceLoggerTest, HoldsExactlyOneReferenceToTheEngine) {
  const MyTraceLogger logger("module");
  EXPECT_EQ(journal.count("addRef") - journal.count("release"), 1u);
}

TEST_F(MyTraceLoggerTest, ReleasesTheEngineBeforeItsLibraryIsClosed) {
  {
    const MyTraceLogger logger("module");
    journal.clear();
  }
  EXPECT_THAT(journal.lines(), ElementsAre("release", "destroyed", "unloaded"));
}

TEST_F(MyTraceLoggerTest, TakesAWarningOfTheEngineForSuccess) {
  script.entryCode = 3;
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
}

TEST_F(MyTraceLoggerTest, WithoutAnEngineStaysUninitialized) {
  installed.loader().remove(kBarePlace);
  installed.writeTags("Name : 5 : yes\n");
  expectUninitialized(MyTraceLogger("module"));
}

TEST_F(MyTraceLoggerTest, WithoutTheEntryPointStaysUninitialized) {
  installed.loader().put(kBarePlace, EngineFile(kEntrylessEngine));
  expectUninitialized(MyTraceLogger("module"));
}

TEST_F(MyTraceLoggerTest, WithAnEntryPointThatFailsStaysUninitialized) {
  script.entryCode = -42;
  expectUninitialized(MyTraceLogger("module"));
}

TEST_F(MyTraceLoggerTest, WithAnEntryPointThatLeavesTheStatusStaysUninitialized) {
  script.entry = Entry::LeavesStatus;
  expectUninitialized(MyTraceLogger("module"));
}

TEST_F(MyTraceLoggerTest, WithNullForAnEngineStaysUninitialized) {
  script.entry = Entry::Nothing;
  expectUninitialized(MyTraceLogger("module"));
}

TEST_F(MyTraceLoggerTest, WithAnotherInterfaceStaysUninitialized) {
  script.entry = Entry::OtherInterface;
  expectUninitialized(MyTraceLogger("module"));
  EXPECT_EQ(assertions.all().size(), 1u);
}

#ifdef QV_UNTYPED_ENGINE
TEST_F(MyTraceLoggerTest, WithAnEngineThatDoesNotKnowItsTypeStaysUninitialized) {
  installed.loader().put(kBarePlace, EngineFile(kUntypedEngine));
  expectUninitialized(MyTraceLogger("module"));
  EXPECT_EQ(assertions.all().size(), 1u);
}
#endif

TEST_F(MyTraceLoggerTest, WithAnEntryPointThatThrowsStaysUninitialized) {
  script.throwsIn = "GetInterface";
  expectUninitialized(MyTraceLogger("module"));
}

TEST_F(MyTraceLoggerTest, WithAnEngineThatRefusesReferencesStaysUninitialized) {
  script.throwsIn = "addRef";
  expectUninitialized(MyTraceLogger("module"));
}

TEST_F(MyTraceLoggerTest, TakesTheAnswerAboutTagNames) {
  script.showTagNames = false;
  EXPECT_FALSE(Probe::showTagNames(MyTraceLogger("module")));
  script.showTagNames = true;
  EXPECT_TRUE(Probe::showTagNames(MyTraceLogger("module")));
}

TEST_F(MyTraceLoggerTest, ShowsTagNamesWhenTheEngineThrowsInsteadOfAnswering) {
  script.throwsIn = "showTagNames";
  script.showTagNames = false;
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_TRUE(Probe::showTagNames(logger));
}

TEST_F(MyTraceLoggerTest, HasNoTagsWhenTheEngineThrowsInsteadOfNamingADirectory) {
  script.throwsIn = "getConfigDirectory";
  installed.writeTags("Name : 5 : yes\n");
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_FALSE(logger.XTraceTagIsEnabled(5));
}

TEST_F(MyTraceLoggerTest, SurvivesAnEngineThatThrowsWhenItIsReleased) {
  {
    const MyTraceLogger logger("module");
    script.throwsIn = "release";
    journal.clear();
  }
  EXPECT_THAT(journal.lines(), ElementsAre("release", "forgotten", "unloaded"));
}

TEST_F(MyTraceLoggerTest, SaysWhichTagsAreOn) {
  installed.writeTags("a : 0 : yes\nb : 5 : yes\nc : 6 : no\nd : 255 : yes\n");
  const MyTraceLogger logger("module");
  EXPECT_TRUE(logger.XTraceTagIsEnabled(0));
  EXPECT_TRUE(logger.XTraceTagIsEnabled(5));
  EXPECT_FALSE(logger.XTraceTagIsEnabled(6));
  EXPECT_FALSE(logger.XTraceTagIsEnabled(7));
  EXPECT_TRUE(logger.XTraceTagIsEnabled(255));
}

TEST_F(MyTraceLoggerTest, NeverCallsATagOutsideTheTableOn) {
  installed.writeTags("a : 256 : yes\nb : -1 : yes\nc : 0 : yes\n");
  const MyTraceLogger logger("module");
  for (const int id : {256, 257, -1, -256, 65536, 2147483647, -2147483647 - 1})
    EXPECT_FALSE(logger.XTraceTagIsEnabled(id)) << id;
}

TEST_F(MyTraceLoggerTest, IsReachedThroughCallsThatAcceptNull) {
  installed.writeTags("Name : 5 : yes\n");
  MyTraceLogger logger("module");
  EXPECT_TRUE(XTraceTagIsEnabled(&logger, 5));
  EXPECT_FALSE(XTraceTagIsEnabled(nullptr, 5));
  journal.clear();
  XTraceLog(nullptr, 5, "f", "%d", 1);
  XTraceError(nullptr, "f", "%d", 1);
  EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(MyTraceLoggerTest, MayBeSeveralOverOneEngineLibrary) {
  installed.writeTags("Name : 5 : yes\n");
  MyTraceLogger first("module");
  {
    const MyTraceLogger second("other");
    EXPECT_FALSE(second.XTraceTagIsEnabled(5));
  }
  EXPECT_EQ(journal.count("unloaded"), 0u);
  first.XTraceError("f", "still there");
  EXPECT_EQ(journal.count("sendBlock"), 1u);
}

TEST_F(MyTraceLoggerTest, DumpsEveryTagThereIs) {
  installed.writeTags("RefCount : 1 : yes\nCertificate : 5 : no\nLast : 255 : yes\n");
  const MyTraceLogger logger("module");
  testing::internal::CaptureStdout();
  logger.DumpTraceTagTable();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "   1) yes : RefCount\n   5) no  : Certificate\n 255) yes : Last\n");
}

TEST_F(MyTraceLoggerTest, DumpsTheNamelessTagOfAnOutputFile) {
  installed.writeTags("Output_File : 2 : out.log\n");
  const MyTraceLogger logger("module");
  testing::internal::CaptureStdout();
  logger.DumpTraceTagTable();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "   0) no  : \n");
}

TEST_F(MyTraceLoggerTest, DumpsNothingWithoutATable) {
  installed.loader().remove(kBarePlace);
  const MyTraceLogger logger("module");
  testing::internal::CaptureStdout();
  logger.DumpTraceTagTable();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace qv::tests
