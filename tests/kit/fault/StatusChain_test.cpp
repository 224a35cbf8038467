#include "kit/StatusChain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "kit/exception/DeserializationError.h"
#include "tests/doubles/FailingAllocator.h"

namespace {

using namespace qv::kit;
using qv::tests::FailingAllocator;

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

bool HasMessage(const StatusChain::Element& element, const wchar_t* text) {
  return element.message() != nullptr && element.message()->exactCompare(text) == 0;
}

TEST(StatusChainWithoutMemory, AnElementTakesNeitherCodeNorMessage) {
  const WString text(L"a text that is longer than the one it replaces");
  StatusChain::Element source(7);
  source.createMessage(&text);
  for (const bool hasMessage : {false, true}) {
    StatusChain::Element target(5);
    const WString old(L"old");
    if (hasMessage) target.createMessage(&old);
    FailingAllocator allocator;
    allocator.FailFrom(1);
    EXPECT_THROW(target.copy(source), std::bad_alloc);
    EXPECT_THROW(target = source, std::bad_alloc);
    EXPECT_THROW(StatusChain::Element{source}, std::bad_alloc);
    EXPECT_EQ(target.code(), 5);
    EXPECT_EQ(HasMessage(target, L"old"), hasMessage);
    EXPECT_EQ(target.message() != nullptr, hasMessage);
    EXPECT_EQ(source.code(), 7);
    EXPECT_TRUE(HasMessage(source, text.c_str()));
  }
}

TEST(StatusChainWithoutMemory, CopyAssignmentAndMergeLeaveBothChains) {
  const unsigned char error[] = {0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 'a', 'b', 0, 0, 0, 0};
  const unsigned char* cursor = error;
  StatusChain failed;
  failed.deserialize(cursor, error + sizeof(error));
  failed.pushCurrent();
  const auto* const history = failed.history();

  StatusChain target;
  target.set(4);
  target.pushCurrent();
  target.set(5);
  const auto* const ownHistory = target.history();

  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(target.copy(failed), std::bad_alloc);
  EXPECT_THROW(target = failed, std::bad_alloc);
  EXPECT_THROW(target.merge(failed), std::bad_alloc);
  EXPECT_THROW(StatusChain{failed}, std::bad_alloc);
  EXPECT_EQ(target.code(), 5);
  EXPECT_EQ(target.current().message(), nullptr);
  EXPECT_EQ(target.history(), ownHistory);
  ASSERT_EQ(ownHistory->size(), 1U);
  EXPECT_EQ((*ownHistory)[0].code(), 4);
  EXPECT_EQ(failed.code(), -1);
  EXPECT_TRUE(HasMessage(failed.current(), L"ab"));
  EXPECT_EQ(failed.history(), history);
  ASSERT_EQ(history->size(), 1U);
  EXPECT_TRUE(HasMessage((*history)[0], L"ab"));
}

}  // namespace
