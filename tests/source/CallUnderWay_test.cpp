#include "source/CallUnderWay.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "tests/doubles/InChild.h"

namespace {

using qv::tests::InChild;
using qvsslinit::CallUnderWay;

bool WasCutOffInChild() {
  return InChild([] { return CallUnderWay::wasCutOff() ? 1 : 0; }) == 1;
}

TEST(CallUnderWay, IsInItsThreadAsLongAsItLives) {
  EXPECT_FALSE(CallUnderWay::isInThisThread());
  {
    const CallUnderWay outer;
    { const CallUnderWay inner; }
    EXPECT_TRUE(CallUnderWay::isInThisThread());
    std::thread([] { EXPECT_FALSE(CallUnderWay::isInThisThread()); }).join();
  }
  EXPECT_FALSE(CallUnderWay::isInThisThread());
}

TEST(CallUnderWay, OfOneThreadOutlivesThatOfAnother) {
  std::promise<void> end;
  std::promise<void> begun;
  auto first = std::make_unique<CallUnderWay>();
  std::thread other([&] {
    const CallUnderWay second;
    begun.set_value();
    end.get_future().wait();
    EXPECT_TRUE(CallUnderWay::isInThisThread());
  });
  begun.get_future().wait();
  first.reset();
  EXPECT_FALSE(CallUnderWay::isInThisThread());
  EXPECT_TRUE(WasCutOffInChild());
  end.set_value();
  other.join();
}

TEST(CallUnderWay, IsCutOffByAForkForTheChildAlone) {
  EXPECT_FALSE(WasCutOffInChild()) << "before the first call";
  {
    const CallUnderWay call;
    EXPECT_TRUE(WasCutOffInChild());
    EXPECT_FALSE(CallUnderWay::wasCutOff());
  }
  EXPECT_FALSE(WasCutOffInChild()) << "after the last";
}

TEST(CallUnderWay, GoesOnUnlistedWhereTooManyAreAtOnce) {
  std::vector<std::unique_ptr<CallUnderWay>> calls;
  for (int i = 0; i < 2000; ++i)
    calls.push_back(std::make_unique<CallUnderWay>());
  std::thread([] {
    const CallUnderWay unlisted;
    EXPECT_FALSE(CallUnderWay::isInThisThread());
  }).join();
  calls.clear();
  EXPECT_FALSE(CallUnderWay::isInThisThread());
  EXPECT_FALSE(WasCutOffInChild());
}

}  // namespace
