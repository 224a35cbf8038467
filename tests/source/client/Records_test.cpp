#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "source/client/ModuleLogger.h"
#include "source/client/MyTraceLogger.h"
#include "source/client/TraceTagEE.h"
#include "tests/doubles/MyTraceLoggerProbe.h"
#include "tests/doubles/engine/EngineDouble.h"

// What the engine gets to see of a trace call.

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using traceengine::MyTraceLogger;
using traceengine::TraceTagEE;
using traceengine::XTraceError;
using traceengine::XTraceLog;
using Probe = traceengine::MyTraceLoggerProbe;

/// The calling thread's identity in base 16, by other means than the code under test.
std::string ThisThread() {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%lX", static_cast<unsigned long>(pthread_self()));
  return digits;
}

struct RecordsTest : testing::Test {
  InstalledEngine installed;
  EngineJournal& journal = InstalledEngine::journal();
  EngineScript& script = InstalledEngine::script();
  const std::string head = "t=" + ThisThread() + " | ";

  RecordsTest() { installed.writeTags("Certificate : 5 : yes\nQuiet : 6 : no\n"); }
};

// The line

TEST_F(RecordsTest, BearTheNameOfTheirTagWhereTheEngineWantsIt) {
  MyTraceLogger logger("module");
  logger.XTraceLog(5, "Class::function", "%s=%d", "a", 1);
  EXPECT_THAT(journal.records(),
              ElementsAre(head + "module | Certificate | Class::function | a=1"));
}

TEST_F(RecordsTest, BearNoTagNameWhereTheEngineWantsNone) {
  script.showTagNames = false;
  MyTraceLogger logger("module");
  logger.XTraceLog(5, "Class::function", "%s=%d", "a", 1);
  EXPECT_THAT(journal.records(), ElementsAre(head + "module | Class::function | a=1"));
}

TEST_F(RecordsTest, OfErrorsNameNoTagInEitherCase) {
  for (const bool show : {true, false}) {
    script.showTagNames = show;
    MyTraceLogger logger("module");
    logger.XTraceError("Class::function", "%s=%d", "a", 1);
  }
  const std::string line = head + "ERROR | module | Class::function | a=1";
  EXPECT_THAT(journal.records(), ElementsAre(line, line));
}

TEST_F(RecordsTest, AreBuiltByTheCallsThatAcceptNullToo) {
  MyTraceLogger logger("module");
  XTraceLog(&logger, 5, "f", "%s=%d", "a", 1);
  XTraceError(&logger, "f", "%s=%d", "b", 2);
  EXPECT_THAT(journal.records(), ElementsAre(head + "module | Certificate | f | a=1",
                                             head + "ERROR | module | f | b=2"));
}

TEST_F(RecordsTest, UnderADisabledTagNeverReachTheEngine) {
  MyTraceLogger logger("module");
  journal.clear();
  for (const int id : {6, 7, 256, -1})
    logger.XTraceLog(id, "f", "message");
  EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(RecordsTest, OfErrorsAreSentWithoutAnyTag) {
  installed.writeTags("");
  MyTraceLogger logger("module");
  logger.XTraceLog(5, "f", "message");
  logger.XTraceError("f", "message");
  EXPECT_THAT(journal.records(), ElementsAre(head + "ERROR | module | f | message"));
}

TEST_F(RecordsTest, OfErrorsAreSentWithoutATagFile) {
  std::filesystem::remove(installed.directory().path("module.cfg"));
  MyTraceLogger logger("module");
  logger.XTraceError("f", "message");
  EXPECT_THAT(journal.records(), ElementsAre(head + "ERROR | module | f | message"));
}

TEST_F(RecordsTest, UnderTheNamelessTagAreNeverSent) {
  // Nothing can switch that tag on from a file, so it never speaks.
  installed.writeTags("Zero : 0 : yes\nOutput_File : 3 : x\n");
  MyTraceLogger logger("module");
  logger.XTraceLog(0, "f", "message");
  EXPECT_THAT(journal.records(), IsEmpty());
}

TEST_F(RecordsTest, TakeTextForTextAndNotForAFormat) {
  MyTraceLogger logger("%s%n");
  logger.XTraceError("%d%n", "%s", "%s%n");
  EXPECT_THAT(journal.records(), ElementsAre(head + "ERROR | %s%n | %d%n | %s%n"));
}

TEST_F(RecordsTest, AcceptMissingNamesAndFormats) {
  MyTraceLogger logger("module");
  const char* const nothing = nullptr;
  logger.XTraceError(nothing, "message");
  logger.XTraceError("f", nothing);
  EXPECT_THAT(journal.records(), ElementsAre(head + "ERROR | module | (null) | message",
                                             head + "ERROR | module | f | (null)"));
}

TEST_F(RecordsTest, SurviveAMessageThatCannotBeFormatted) {
  MyTraceLogger logger("module");
  const wchar_t noCharacter[] = {static_cast<wchar_t>(0x110000), 0};
  logger.XTraceError("f", "before %ls after", noCharacter);
  ASSERT_THAT(journal.records(), SizeIs(1));
  EXPECT_EQ(journal.records()[0].find(head + "ERROR | module | f | "), 0u);
}

TEST_F(RecordsTest, NameTheThreadThatTraces) {
  MyTraceLogger logger("module");
  std::string other;
  std::thread([&] {
    other = ThisThread();
    logger.XTraceError("f", "message");
  }).join();
  EXPECT_NE("t=" + other + " | ", head);
  EXPECT_THAT(journal.records(), ElementsAre("t=" + other + " | ERROR | module | f | message"));
  kit::String id = "something before";
  Probe::getThreadIDString(id);
  EXPECT_EQ(id.exactCompare(ThisThread().c_str()), 0);
}

// Cutting

TEST_F(RecordsTest, CutAMessageOf600CharactersAndTheLineAroundIt) {
  MyTraceLogger logger("module");
  logger.XTraceLog(5, "f", "%s", std::string(600, 'x').c_str());
  const std::string line = head + "module | Certificate | f | " + std::string(600, 'x');
  EXPECT_THAT(journal.records(), ElementsAre(line.substr(0, 511)));
}

TEST_F(RecordsTest, CutALineTo511CharactersWhereverThatIs) {
  const std::string longName(600, 'n');
  MyTraceLogger logger(longName.c_str());
  logger.XTraceError("f", "message");
  EXPECT_THAT(journal.records(), ElementsAre((head + "ERROR | " + longName).substr(0, 511)));
}

TEST_F(RecordsTest, OfJustTheRightLengthAreWhole) {
  MyTraceLogger logger("m");
  const std::string start = head + "ERROR | m | f | ";
  for (const std::size_t length : {510 - start.size(), 511 - start.size(), 512 - start.size()}) {
    logger.XTraceError("f", "%s", std::string(length, 'x').c_str());
  }
  const std::string longest = start + std::string(511 - start.size(), 'x');
  EXPECT_THAT(journal.records(), ElementsAre(longest.substr(0, 510), longest, longest));
}

// Cutting a character in two is accepted: the engine gets bytes.
TEST_F(RecordsTest, AreCutAtTheByte) {
  MyTraceLogger logger("m");
  const std::string start = head + "ERROR | m | f | ";
  logger.XTraceError("f", "%s\xC3\xA4", std::string(510 - start.size(), 'x').c_str());
  EXPECT_THAT(journal.records(),
              ElementsAre(start + std::string(510 - start.size(), 'x') + "\xC3"));
}

// The block

TEST_F(RecordsTest, AreWrittenWithTheirTerminator) {
  MyTraceLogger logger("module");
  logger.XTraceError("f", "message");
  const std::string line = head + "ERROR | module | f | message";
  ASSERT_THAT(journal.blocks(), SizeIs(1));
  const SentBlock block = journal.blocks()[0];
  EXPECT_EQ(block.used, static_cast<std::int32_t>(line.size() + 1));
  EXPECT_EQ(block.text(), line + '\0');
  EXPECT_EQ(block.payload.substr(line.size() + 1), std::string(511 - line.size(), '#'));
}

TEST_F(RecordsTest, LeaveWhatBelongsToTheEngine) {
  MyTraceLogger logger("module");
  logger.XTraceError("f", "message");
  ASSERT_THAT(journal.blocks(), SizeIs(1));
  EXPECT_EQ(journal.blocks()[0].enginesOwn, EngineJournal::kEnginesOwn);
  EXPECT_EQ(journal.blocks()[0].type, EngineJournal::kType);
}

TEST_F(RecordsTest, BearTheTimeOfTheCall) {
  MyTraceLogger logger("module");
  const auto seconds = [] { return static_cast<std::uint64_t>(std::time(nullptr)) + 2082844800U; };
  const std::uint64_t before = seconds();
  logger.XTraceError("f", "message");
  const std::uint64_t after = seconds();
  ASSERT_THAT(journal.blocks(), SizeIs(1));
  const auto words = journal.blocks()[0].timeStamp;
  const std::uint64_t stamped = static_cast<std::uint64_t>(words[3]) << 32U | words[2];
  EXPECT_GE(stamped, before - 1);
  EXPECT_LE(stamped, after + 1);
}

TEST_F(RecordsTest, FillABlockThatIsPartlyUsedWithoutATerminator) {
  script.used = 500;
  MyTraceLogger logger("module");
  char line[] = "forty bytes are needed for this line...";
  static_assert(sizeof line == 40);
  Probe::buildAndSendBlock(logger, line);
  ASSERT_THAT(journal.blocks(), SizeIs(1));
  const SentBlock block = journal.blocks()[0];
  EXPECT_EQ(block.used, 512);
  EXPECT_EQ(block.payload, std::string(500, '#') + "forty bytes ");
  EXPECT_STREQ(line, "forty bytes ");
}

TEST_F(RecordsTest, KeepTheirTerminatorWhereTheyJustFit) {
  script.used = 472;
  MyTraceLogger logger("module");
  char line[] = "forty bytes are needed for this line...";
  Probe::buildAndSendBlock(logger, line);
  ASSERT_THAT(journal.blocks(), SizeIs(1));
  EXPECT_EQ(journal.blocks()[0].used, 512);
  EXPECT_EQ(journal.blocks()[0].payload.substr(472), std::string(line) + '\0');
}

TEST_F(RecordsTest, LoseTheTerminatorFirst) {
  script.used = 473;
  MyTraceLogger logger("module");
  char line[] = "forty bytes are needed for this line...";
  Probe::buildAndSendBlock(logger, line);
  ASSERT_THAT(journal.blocks(), SizeIs(1));
  EXPECT_EQ(journal.blocks()[0].used, 512);
  EXPECT_EQ(journal.blocks()[0].payload.substr(473), "forty bytes are needed for this line...");
}

TEST_F(RecordsTest, LeaveAFullBlockAsItIs) {
  script.used = 512;
  MyTraceLogger logger("module");
  logger.XTraceError("f", "message");
  ASSERT_THAT(journal.blocks(), SizeIs(1));
  EXPECT_EQ(journal.blocks()[0].used, 512);
  EXPECT_EQ(journal.blocks()[0].payload, std::string(512, '#'));
}

TEST_F(RecordsTest, WriteNothingIntoABlockWhoseCountMakesNoSense) {
  MyTraceLogger logger("module");
  for (const std::int32_t used : {-1, 513, 100000, 2147483647, -2147483647 - 1}) {
    journal.clear();
    script.used = used;
    logger.XTraceError("f", "message");
    ASSERT_THAT(journal.blocks(), SizeIs(1)) << used;
    EXPECT_EQ(journal.blocks()[0].used, used);
    EXPECT_EQ(journal.blocks()[0].payload, std::string(512, '#')) << used;
  }
}

TEST_F(RecordsTest, AreNotedAsDroppedWithoutABlock) {
  MyTraceLogger logger("module");
  script.hasBlocks = false;
  journal.clear();
  logger.XTraceError("f", "message");
  EXPECT_THAT(journal.lines(), ElementsAre("getFreeBlock", "noteDroppedRecord"));
  EXPECT_THAT(journal.blocks(), IsEmpty());
}

TEST_F(RecordsTest, CallTheEngineTwiceEach) {
  MyTraceLogger logger("module");
  journal.clear();
  logger.XTraceLog(5, "f", "message");
  EXPECT_THAT(journal.lines(), ElementsAre("getFreeBlock", "sendBlock"));
}

// The caller

TEST_F(RecordsTest, NeverLetAnExceptionOfTheEngineOut) {
  MyTraceLogger logger("module");
  for (const char* operation : {"getFreeBlock", "sendBlock", "noteDroppedRecord"}) {
    journal.clear();
    script.throwsIn = operation;
    script.hasBlocks = script.throwsIn != "noteDroppedRecord";
    logger.XTraceError("f", "message");
    logger.XTraceLog(5, "f", "message");
    EXPECT_EQ(journal.count("forgotten"), 2u) << operation;
  }
}

TEST_F(RecordsTest, LeaveErrnoAlone) {
  MyTraceLogger logger("module");
  script.interruptedIn = "sendBlock";
  errno = EEXIST;
  logger.XTraceLog(5, "f", "message");
  logger.XTraceError("f", "message");
  logger.XTraceLog(6, "f", "message");
  EXPECT_EQ(errno, EEXIST);
}

TEST_F(RecordsTest, LeaveErrnoAloneWhereTheEngineThrows) {
  MyTraceLogger logger("module");
  script.interruptedIn = script.throwsIn = "getFreeBlock";
  errno = EEXIST;
  logger.XTraceError("f", "message");
  EXPECT_EQ(errno, EEXIST);
}

TEST_F(RecordsTest, MayTellWhatErrnoIs) {
  MyTraceLogger logger("module");
  errno = ENOENT;
  // An extension, which the compiler would rather not see.
  const std::string format = "%m%s";
  logger.XTraceError("f", format.c_str(), "");
  EXPECT_THAT(journal.records(),
              ElementsAre(head + "ERROR | module | f | No such file or directory"));
}

struct CancelledCall {
  MyTraceLogger* logger;
  bool cameBack = false;
};

void* TraceWhileCancelled(void* argument) {
  auto& call = *static_cast<CancelledCall*>(argument);
  pthread_cancel(pthread_self());
  call.logger->XTraceError("f", "message");
  call.cameBack = true;
  pthread_testcancel();
  return nullptr;
}

TEST_F(RecordsTest, FinishBeforeTheirThreadIsCancelled) {
  MyTraceLogger logger("module");
  for (const char* operation : {"getFreeBlock", "sendBlock"}) {
    journal.clear();
    script.interruptedIn = operation;
    CancelledCall call{&logger};
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, &TraceWhileCancelled, &call), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(call.cameBack);
    EXPECT_THAT(journal.records(), SizeIs(1));
  }
}

void MakeLogger() {
  const MyTraceLogger logger("module");
}

void* LogWhileCancelled(void* argument) {
  pthread_cancel(pthread_self());
  MakeLogger();
  *static_cast<bool*>(argument) = true;
  pthread_testcancel();
  return nullptr;
}

TEST_F(RecordsTest, LoggersComeAndGoBeforeTheirThreadIsCancelled) {
  for (const char* operation : {"showTagNames", "getConfigDirectory", "addRef", "release"}) {
    script.interruptedIn = operation;
    bool cameBack = false;
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, &LogWhileCancelled, &cameBack), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(cameBack) << operation;
  }
}

TEST_F(RecordsTest, AreAsManyAsTheCallsOfAllThreads) {
  static constexpr int kThreads = 8;
  static constexpr int kCalls = 250;
  MyTraceLogger logger("module");
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&logger, &go, thread] {
      while (!go) {
      }
      for (int call = 0; call < kCalls; ++call) {
        XTraceLog(&logger, 5, "f", "%d of %d", call, thread);
        XTraceLog(&logger, 6, "f", "never");
        XTraceError(&logger, "g", "%d of %d", call, thread);
      }
    });
  }
  go = true;
  for (std::thread& thread : threads)
    thread.join();
  std::multiset<std::string> found;
  for (const std::string& record : journal.records())
    found.insert(record.substr(record.find(" | ") + 3));
  std::multiset<std::string> expected;
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int call = 0; call < kCalls; ++call) {
      const std::string message = std::to_string(call) + " of " + std::to_string(thread);
      expected.insert("module | Certificate | f | " + message);
      expected.insert("ERROR | module | g | " + message);
    }
  }
  EXPECT_EQ(found, expected);
}

// Scopes

struct ScopesTest : RecordsTest {
  MyTraceLogger logger{"module"};
  ScopesTest() {
    qvsslinit::g_pGLogger = &logger;
    journal.clear();
  }
  ~ScopesTest() override { qvsslinit::g_pGLogger = nullptr; }
};

TEST_F(ScopesTest, WriteInAndOut) {
  {
    const TraceTagEE scope(5, "Class::function");
    EXPECT_THAT(journal.records(),
                ElementsAre(head + "module | Certificate | Class::function | In"));
  }
  EXPECT_THAT(journal.records(),
              ElementsAre(head + "module | Certificate | Class::function | In",
                          head + "module | Certificate | Class::function | Out"));
}

TEST_F(ScopesTest, UnderTagsThatAreOffOrNoneNeverReachTheEngine) {
  for (const int id : {6, 7, 256, -1}) {
    const TraceTagEE scope(id, "Class::function");
  }
  EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(ScopesTest, WithoutAFunctionNameNeverReachTheEngine) {
  { const TraceTagEE scope(5, nullptr); }
  EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(ScopesTest, WithoutALoggerDoNothing) {
  qvsslinit::g_pGLogger = nullptr;
  { const TraceTagEE scope(5, "Class::function"); }
  EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(ScopesTest, OfALoggerThatGoesMeanwhileHaveNoOut) {
  {
    const TraceTagEE scope(5, "Class::function");
    qvsslinit::g_pGLogger = nullptr;
  }
  EXPECT_THAT(journal.records(), ElementsAre(head + "module | Certificate | Class::function | In"));
}

TEST_F(ScopesTest, OfALoggerThatComesMeanwhileHaveAnOut) {
  qvsslinit::g_pGLogger = nullptr;
  {
    const TraceTagEE scope(5, "Class::function");
    qvsslinit::g_pGLogger = &logger;
  }
  EXPECT_THAT(journal.records(),
              ElementsAre(head + "module | Certificate | Class::function | Out"));
}

TEST_F(ScopesTest, OfALoggerWithoutAnEngineDoNothing) {
  installed.loader().remove(kBarePlace);
  MyTraceLogger uninitialized("module");
  journal.clear();
  qvsslinit::g_pGLogger = &uninitialized;
  { const TraceTagEE scope(5, "Class::function"); }
  EXPECT_THAT(journal.lines(), IsEmpty());
}

}  // namespace
}  // namespace qv::tests
