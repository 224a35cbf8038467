#include "kit/StatusChain.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace {

using qv::kit::StatusChain;

TEST(StatusChainThreads, LetGoOfOneHistory) {
  auto source = std::make_unique<StatusChain>();
  source->set(-1);
  source->pushCurrent();
  ASSERT_NE(source->history(), nullptr);
  std::vector<StatusChain> copies(8, *source);
  source = nullptr;
  std::vector<std::thread> threads;
  for (StatusChain& copy : copies) {
    threads.emplace_back([&copy] { copy.clear(); });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (const StatusChain& copy : copies)
    EXPECT_EQ(copy.history(), nullptr);
}

}  // namespace
