#include "kit/StatusChain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "kit/exception/DeserializationError.h"
#include "tests/doubles/FailingAllocator.h"

namespace {

using namespace qv::kit;
using qv::test::FailingAllocator;

// Code 7, message "ab", history of one element with code 5 and message "c".
constexpr unsigned char kBytes[] = {7, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 1,  0,
                                    0, 0, 5, 0, 0, 0, 1, 0, 0,   0,   'c'};
constexpr const unsigned char* kEnd = kBytes + sizeof(kBytes);

void ReadBytes(StatusChain& chain) {
  const unsigned char* cursor = kBytes;
  chain.deserialize(cursor, kEnd);
}

TEST(StatusChainWithoutMemory, CannotCreateAMessageAndHasNone) {
  const WString text(L"text");
  for (const std::uint32_t failing : {1U, 2U}) {
    StatusChain::Element element;
    FailingAllocator allocator;
    allocator.FailCall(failing);
    EXPECT_THROW(element.createMessage(&text), std::bad_alloc);
    EXPECT_EQ(element.message(), nullptr);
  }
}

TEST(StatusChainWithoutMemory, PushesNothing) {
  StatusChain chain;
  ReadBytes(chain);
  chain.cleanupHistory();
  for (std::uint32_t failing = 1;; ++failing) {
    FailingAllocator allocator;
    allocator.FailCall(failing);
    try {
      chain.pushCurrent();
      // The history, its storage, the message and its characters.
      EXPECT_EQ(failing, 5U);
      break;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(chain.history(), nullptr);
      EXPECT_EQ(chain.code(), 7);
    }
  }
  EXPECT_EQ(chain.history()->size(), 1U);
}

TEST(StatusChainWithoutMemory, ReadingFailsAtEachAllocationAndLeavesNothingHalfDone) {
  std::uint32_t failing = 1;
  for (bool isRead = false; !isRead; ++failing) {
    StatusChain chain;
    const unsigned char* cursor = kBytes;
    FailingAllocator allocator;
    allocator.FailCall(failing);
    try {
      chain.deserialize(cursor, kEnd);
      isRead = true;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(cursor, kBytes);
      EXPECT_EQ(chain.history(), nullptr);
      if (chain.current().message() != nullptr) {
        EXPECT_EQ(chain.current().message()->exactCompare(L"ab"), 0);
      }
    }
  }
  EXPECT_GT(failing, 6U);
}

TEST(StatusChainWithoutMemory, StillTakesCodes) {
  StatusChain chain;
  ReadBytes(chain);
  FailingAllocator allocator;
  allocator.FailFrom(1);
  chain.set(-1);
  EXPECT_EQ(chain.code(), -1);
  chain.clear();
  EXPECT_EQ(chain.code(), 0);
}

TEST(StatusChain, TakesNoMemoryUntilItIsNeeded) {
  const FailingAllocator allocator;
  StatusChain chain;
  chain.clear();
  chain.set(-1);
  const StatusChain copy(chain);
  EXPECT_TRUE(allocator.sizes().empty());
}

TEST(StatusChainDeserialize, TakesNoMemoryForAHistoryThatTheBytesCannotHold) {
  // Two elements of 8 bytes cannot lie in 12 bytes, though the count is below 12.
  for (const int count : {2, 16}) {
    unsigned char bytes[24] = {};
    bytes[8] = static_cast<unsigned char>(count);
    const unsigned char* cursor = bytes;
    StatusChain chain;
    chain.createHistoryIfNeeded();
    const FailingAllocator allocator;
    EXPECT_THROW(chain.deserialize(cursor, bytes + sizeof(bytes)), exception::DeserializationError);
    EXPECT_TRUE(allocator.sizes().empty());
  }
}

TEST(StatusChainCopy, SharesTheHistoryWithoutMemory) {
  StatusChain source;
  source.createHistoryIfNeeded();
  StatusChain target;
  FailingAllocator allocator;
  allocator.FailFrom(1);
  target.copy(source);
  EXPECT_EQ(target.history(), source.history());
}

}  // namespace
