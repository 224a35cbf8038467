#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "tests/engine/LoadedEngine.h"
#include "tests/engine/TraceFile.h"

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

constexpr int kRecords = 500;

LoadedEngine* g_engine = nullptr;

void TraceLate() {
  g_engine->send("late");
}

class ProcessEnd : public testing::Test {
 protected:
  TraceFile file_;
};

TEST_F(ProcessEnd, LosesNothingOfAHostThatKeepsItsReference) {
  EXPECT_EXIT(
      {
        LoadedEngine engine;
        for (int i = 0; i < kRecords; ++i)
          engine.sendSurely("record");
        engine.forget();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_THAT(file_.records(), SizeIs(kRecords));
}

// A handler that was registered before the engine was loaded runs after those of the engine.
TEST_F(ProcessEnd, LosesNothingThatAnExitHandlerOfTheHostTraces) {
  EXPECT_EXIT(
      {
        std::atexit(TraceLate);
        g_engine = new LoadedEngine;
        g_engine->send("early");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_THAT(file_.records(), ElementsAre("early", "late"));
}

TEST_F(ProcessEnd, TellsOfDroppedRecords) {
  ::setenv("QV_TRACE_BLOCKS", "1", 1);
  EXPECT_EXIT(
      {
        LoadedEngine engine;
        engine->getFreeBlock();
        engine.send("dropped");
        engine.forget();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_THAT(file_.records(), SizeIs(0));
  EXPECT_EQ(file_.dropped(), 1u);
}

TEST_F(ProcessEnd, WaitsOnlyAWhileForAFileThatTakesNothing) {
  const std::string pipe = file_.directory().path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  ::setenv("QV_TRACE_OUTPUT", pipe.c_str(), 1);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  const int writer = ::open(pipe.c_str(), O_WRONLY | O_NONBLOCK);
  const std::string filling(512, '#');
  while (::write(writer, filling.data(), filling.size()) > 0)
    continue;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EXIT(
      {
        LoadedEngine engine;
        engine.send("record");
        engine.forget();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  ::close(reader);
  ::close(writer);
}

}  // namespace
}  // namespace qv::tests
