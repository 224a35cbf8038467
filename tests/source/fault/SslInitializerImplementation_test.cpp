#include "source/SslInitializerImplementation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "source/SslInitializer.h"
#include "source/client/ModuleLogger.h"
#include "source/client/MyTraceLogger.h"
#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/SslInitializerImplementationProbe.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/TraceRecords.h"
#include "tests/doubles/openssl/Journal.h"

// The service where memory runs out.

namespace qvsslinit {
namespace {

using qv::kit::StatusChain;
using qv::tests::FailingAllocator;
using qv::tests::Journal;
using testing::ElementsAre;
using testing::IsEmpty;
using Probe = SslInitializerImplementationProbe;

class OutOfMemory : public testing::Test {
 protected:
  OutOfMemory() {
    status_.clear();
    singleton_ = std::make_unique<SslInitializerImplementation>(status_);
    g_pInitializerSingleton = singleton_.get();
  }

  void expectCounted(std::int32_t next, std::int32_t references, int round) const {
    EXPECT_EQ(Probe::nextHandle(*singleton_), next) << round;
    EXPECT_EQ(Probe::refCount(*singleton_), references) << round;
    EXPECT_EQ(Probe::handles(*singleton_).size(), static_cast<std::size_t>(references)) << round;
  }

  void releaseTheOnly(std::int32_t handle, int round) {
    StatusChain status;
    status.clear();
    singleton_->ReleaseLibrary(handle, status);
    EXPECT_EQ(status.code(), 0) << round;
  }

  /// Loads with the nth allocation failing, for each n that there is. A load that fails has counted
  /// nothing, and the next one with enough memory succeeds; one that can do without that memory has
  /// counted one handle. Gives the number of loads that failed.
  template <typename Fail>
  int failLoads(Fail fail) {
    std::int32_t next = 1;
    int failures = 0;
    for (std::uint32_t n = 1; !HasFailure(); ++n) {
      StatusChain status;
      status.clear();
      std::int32_t handle = 0;
      bool allMade = false;
      {
        FailingAllocator allocator;
        allocator.IncludeNew();
        fail(allocator, n);
        EXPECT_NO_THROW(handle = singleton_->LoadLibrary(status)) << n;
        allMade = allocator.sizes().size() < n;
      }
      if (handle == -1) {
        ++failures;
        EXPECT_FALSE(allMade);
        EXPECT_LT(status.code(), 0) << n;
        expectCounted(next, 0, static_cast<int>(n));
        status.clear();
        handle = singleton_->LoadLibrary(status);
      }
      EXPECT_EQ(status.code(), 0) << n;
      EXPECT_EQ(handle, next) << n;
      expectCounted(next + 1, 1, static_cast<int>(n));
      releaseTheOnly(next++, static_cast<int>(n));
      if (allMade) break;
    }
    return failures;
  }

  Journal& journal_ = Journal::instance();
  StatusChain status_;
  std::unique_ptr<SslInitializerImplementation> singleton_;
};

TEST_F(OutOfMemory, ForOneAllocationOfALoadCountsNothing) {
  journal_.setLockCount(3);
  EXPECT_GE(failLoads([](auto& allocator, std::uint32_t n) { allocator.FailCall(n); }), 10);
}

TEST_F(OutOfMemory, ForTheRestOfALoadCountsNothing) {
  journal_.setLockCount(3);
  EXPECT_GE(failLoads([](auto& allocator, std::uint32_t n) { allocator.FailFrom(n); }), 10);
}

TEST_F(OutOfMemory, WhenOpensslRunsAlreadyTheHandleIsNotIssued) {
  // The list of handles grows in powers of two: the fifth needs room.
  for (std::int32_t n = 1; n <= 4; ++n)
    ASSERT_EQ(singleton_->LoadLibrary(status_), n);
  std::int32_t handle = 0;
  {
    FailingAllocator allocator;
    allocator.IncludeNew();
    allocator.FailFrom(1);
    EXPECT_NO_THROW(handle = singleton_->LoadLibrary(status_));
  }
  EXPECT_EQ(handle, -1);
  EXPECT_LT(status_.code(), 0);
  EXPECT_EQ(Probe::refCount(*singleton_), 4);
  EXPECT_THAT(Probe::handles(*singleton_), ElementsAre(1, 2, 3, 4));
  status_.clear();
  EXPECT_EQ(singleton_->LoadLibrary(status_), 5);
}

/// Keeps the last error record without taking memory.
struct LastError {
  LastError() { QVTEST_SetTraceSink(&take, this); }
  LastError(const LastError&) = delete;
  LastError& operator=(const LastError&) = delete;
  ~LastError() { QVTEST_SetTraceSink(nullptr, nullptr); }

  static void take(const char* record, void* context) {
    auto& text = static_cast<LastError*>(context)->text;
    if (record[0] == 'E') std::snprintf(text, sizeof text, "%s", record);
  }

  char text[256] = {};
};

TEST_F(OutOfMemory, OpensslGetsNullForALockOfTheRunTime) {
  for (std::uint32_t n = 1; n < 100; ++n) {
    const LastError error;
    CRYPTO_dynlock_value* lock = nullptr;
    {
      FailingAllocator allocator;
      allocator.IncludeNew();
      allocator.FailCall(n);
      EXPECT_NO_THROW(lock = singleton_->xdynlockCreate("", 0)) << n;
    }
    if (lock != nullptr) {
      EXPECT_GT(n, 2u);  // the value and the lock in it
      EXPECT_STREQ(error.text, "");
      singleton_->xdynlockDestroy(lock, "", 0);
      return;
    }
    EXPECT_STREQ(error.text,
                 "ERROR | SslInitializerImplementation::xdynlockCreate | Could not create a lock");
  }
  FAIL() << "no lock at all";
}

TEST_F(OutOfMemory, NoInitThrowsOrLosesWhatItMade) {
  const qv::tests::TemporaryDirectory directory;
  ::setenv("QVPUBAPPDATADIR", directory.path().c_str(), 1);
  bool allMade = false;
  int failures = 0;
  for (std::uint32_t n = 1; !allMade && !HasFailure(); ++n) {
    std::filesystem::remove_all(directory.path("certstore"));
    delete g_pGLogger;
    g_pGLogger = nullptr;
    g_pInitializerSingleton = nullptr;
    journal_.clearLines();
    {
      FailingAllocator allocator;
      allocator.IncludeNew();
      allocator.FailCall(n);
      EXPECT_NO_THROW({
        const SslInitializer initializer;
        if (initializer.status().code() < 0) ++failures;
        EXPECT_EQ(initializer.handle(), initializer.status().code() < 0 ? -1 : 1);
      }) << n;
      allMade = allocator.sizes().size() < n;
    }
    delete g_pInitializerSingleton;
    EXPECT_EQ(journal_.linesOf("load").size(), journal_.linesOf("unload").size()) << n;
    EXPECT_THAT(journal_.misuses(), IsEmpty()) << n;
    for (const std::string& object : journal_.liveObjects())
      EXPECT_THAT(object, testing::StartsWith("name-")) << n;  // the one that is never freed
  }
  g_pInitializerSingleton = singleton_.get();
  EXPECT_TRUE(allMade);
  EXPECT_GE(failures, 10);
}

}  // namespace
}  // namespace qvsslinit
