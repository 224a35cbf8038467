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

std::vector<std::unique_ptr<CallUnderWay>> TooManyCalls() {
  std::vector<std::unique_ptr<CallUnderWay>> calls(2000);
  for (auto& call : calls)
    call = std::make_unique<CallUnderWay>();
  return calls;
}

TEST(CallUnderWay, GoesOnUnlistedWhereTooManyAreAtOnce) {
  auto calls = TooManyCalls();
  std::thread([] {
    const CallUnderWay unlisted;
    EXPECT_FALSE(CallUnderWay::isInThisThread());
  }).join();
  calls.clear();
  EXPECT_FALSE(CallUnderWay::isInThisThread());
  EXPECT_FALSE(WasCutOffInChild());
}

TEST(CallUnderWay, IsCutOffByAForkEvenWhereItIsUnlisted) {
  auto calls = TooManyCalls();
  calls.erase(calls.begin(), calls.end() - 1);
  ASSERT_FALSE(CallUnderWay::isInThisThread()) << "the last is unlisted";
  EXPECT_TRUE(WasCutOffInChild());
  calls.clear();
  EXPECT_FALSE(WasCutOffInChild());
}

TEST(CallUnderWay, OfAThreadThatAChildDoesNotHaveIsNotListedThere) {
  std::promise<void> end;
  std::promise<void> begun;
  std::thread other([&] {
    const auto all = TooManyCalls();
    begun.set_value();
    end.get_future().wait();
  });
  begun.get_future().wait();
  EXPECT_EQ(InChild([] {
              const CallUnderWay call;
              return CallUnderWay::isInThisThread() ? 1 : 0;
            }),
            1)
      << "there is room again";
  end.set_value();
  other.join();
}

TEST(CallUnderWay, OfTheThreadThatForksStaysListedInTheChild) {
  const CallUnderWay call;
  EXPECT_EQ(InChild([] { return CallUnderWay::isInThisThread() ? 1 : 0; }), 1);
}

}  // namespace
