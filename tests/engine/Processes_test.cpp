#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/engine/ChildProcess.h"
#include "tests/engine/LoadedEngine.h"
#include "tests/engine/TraceFile.h"

namespace qv::tests {
namespace {

using testing::Each;
using testing::Pair;
using testing::SizeIs;

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

}  // namespace
}  // namespace qv::tests
