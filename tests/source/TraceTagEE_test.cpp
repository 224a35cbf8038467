#include "source/client/TraceTagEE.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/doubles/TraceRecords.h"

namespace {

using qv::tests::TraceRecords;
using qv::traceengine::MyTraceLogger;
using qv::traceengine::TraceTagEE;
using testing::ElementsAre;
using testing::IsEmpty;

struct TraceTagEETest : testing::Test {
  MyTraceLogger logger{"module"};
  TraceRecords records;

  TraceTagEETest() { qvsslinit::g_pGLogger = &logger; }
  ~TraceTagEETest() override { qvsslinit::g_pGLogger = nullptr; }
};

TEST_F(TraceTagEETest, WritesInAtEntryAndOutAtExit) {
  {
    const TraceTagEE scope(4, "Class::function");
    EXPECT_THAT(records.all(), ElementsAre("4 | Class::function | In"));
  }
  EXPECT_THAT(records.all(), ElementsAre("4 | Class::function | In", "4 | Class::function | Out"));
}

TEST_F(TraceTagEETest, WithoutAFunctionNameWritesNothing) {
  { const TraceTagEE scope(4, nullptr); }
  EXPECT_THAT(records.all(), IsEmpty());
}

TEST_F(TraceTagEETest, UnderATagThatIsNeverOnWritesNothing) {
  { const TraceTagEE scope(256, "Class::function"); }
  { const TraceTagEE scope(-1, "Class::function"); }
  EXPECT_THAT(records.all(), IsEmpty());
}

TEST_F(TraceTagEETest, WithoutALoggerDoesNothing) {
  qvsslinit::g_pGLogger = nullptr;
  { const TraceTagEE scope(4, "Class::function"); }
  EXPECT_THAT(records.all(), IsEmpty());
}

TEST_F(TraceTagEETest, ALoggerThatGoesMeanwhileGetsNoOut) {
  {
    const TraceTagEE scope(4, "Class::function");
    qvsslinit::g_pGLogger = nullptr;
  }
  EXPECT_THAT(records.all(), ElementsAre("4 | Class::function | In"));
}

TEST_F(TraceTagEETest, ALoggerThatComesMeanwhileGetsTheOut) {
  qvsslinit::g_pGLogger = nullptr;
  {
    const TraceTagEE scope(4, "Class::function");
    qvsslinit::g_pGLogger = &logger;
  }
  EXPECT_THAT(records.all(), ElementsAre("4 | Class::function | Out"));
}

TEST_F(TraceTagEETest, MessagesAndErrorsWithoutALoggerDoNothing) {
  qvsslinit::g_pGLogger = nullptr;
  XTraceLog(qvsslinit::g_pGLogger, 4, "Class::function", "%d", 1);
  XTraceError(qvsslinit::g_pGLogger, "Class::function", "%d", 1);
  EXPECT_THAT(records.all(), IsEmpty());
}

TEST_F(TraceTagEETest, MessagesAndErrorsCarryTheirArguments) {
  XTraceLog(qvsslinit::g_pGLogger, 5, "Class::function", "%s=%d", "a", 1);
  XTraceError(qvsslinit::g_pGLogger, "Class::function", "%s=%d", "b", 2);
  EXPECT_THAT(records.all(),
              ElementsAre("5 | Class::function | a=1", "ERROR | Class::function | b=2"));
}

}  // namespace
