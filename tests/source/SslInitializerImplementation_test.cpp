#include "source/SslInitializerImplementation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <limits>
#include <memory>
#include <utility>

#include "source/client/ModuleLogger.h"
#include "source/client/MyTraceLogger.h"
#include "tests/doubles/SslInitializerImplementationProbe.h"
#include "tests/doubles/TraceRecords.h"
#include "tests/doubles/openssl/Journal.h"

// What a host cannot reach through the two exports. The doubles lie beside this program, which is
// the library here.

namespace qvsslinit {

namespace {

using qv::kit::StatusChain;
using qv::tests::Journal;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Probe = SslInitializerImplementationProbe;

class SslInitializerImplementationTest : public testing::Test {
 protected:
  SslInitializerImplementationTest() {
    status_.clear();
    singleton_ = std::make_unique<SslInitializerImplementation>(status_);
    g_pInitializerSingleton = singleton_.get();
  }

  std::int32_t load() { return singleton_->LoadLibrary(status_); }
  void release(std::int32_t handle) { singleton_->ReleaseLibrary(handle, status_); }

  Journal& journal_ = Journal::instance();
  qv::tests::TraceRecords records_;
  StatusChain status_;
  std::unique_ptr<SslInitializerImplementation> singleton_;
};

TEST_F(SslInitializerImplementationTest, BuiltWithAGoodStatusMakesTheLogger) {
  EXPECT_EQ(status_.code(), 0);
  EXPECT_NE(g_pGLogger, nullptr);
}

TEST_F(SslInitializerImplementationTest, BuiltAfterAFailureMakesNoLogger) {
  delete std::exchange(g_pGLogger, nullptr);
  status_.set(-5);
  const SslInitializerImplementation other(status_);
  EXPECT_EQ(g_pGLogger, nullptr);
  EXPECT_EQ(status_.code(), -5);
}

TEST_F(SslInitializerImplementationTest, BuiltWithoutALoggerToBeHadFails) {
  delete std::exchange(g_pGLogger, nullptr);
  QVTEST_RefuseTraceLoggers(1);
  const SslInitializerImplementation other(status_);
  EXPECT_EQ(g_pGLogger, nullptr);
  EXPECT_EQ(status_.code(), -1);
}

TEST_F(SslInitializerImplementationTest, IssuesNumbersFromOneAndCountsThem) {
  EXPECT_EQ(load(), 1);
  EXPECT_EQ(load(), 2);
  EXPECT_THAT(records_.under("1"), ElementsAre("1 | SslInitializerImplementation::LoadLibrary | "
                                               "returning status=ok, handle=1, refCount_=1",
                                               "1 | SslInitializerImplementation::LoadLibrary | "
                                               "returning status=ok, handle=2, refCount_=2"));
}

TEST_F(SslInitializerImplementationTest, ANumberReleasedTwiceIsRefusedTheSecondTime) {
  load();
  load();
  release(1);
  EXPECT_EQ(status_.code(), 0);
  release(1);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | SslInitializerImplementation::ReleaseLibrary | "
                          "Release called with invalid handle '1'"));
  EXPECT_EQ(records_.under("1").back(),
            "1 | SslInitializerImplementation::ReleaseLibrary | "
            "returning status=error, handle=1, refCount_=1");
}

TEST_F(SslInitializerImplementationTest, ANumberThatWasNeverIssuedIsRefused) {
  load();
  release(2);
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | SslInitializerImplementation::ReleaseLibrary | "
                          "Release called with invalid handle '2'"));
  EXPECT_THAT(journal_.linesOf("unload"), IsEmpty());
}

TEST_F(SslInitializerImplementationTest, ReleasingWhileNothingRunsIsRefused) {
  release(1);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | SslInitializerImplementation::ReleaseLibrary | "
                          "SSL not initialized"));
}

TEST_F(SslInitializerImplementationTest, NumbersMayBeReleasedInAnyOrder) {
  for (int i = 0; i < 4; ++i)
    load();
  for (const std::int32_t handle : {3, 1, 4})
    release(handle);
  EXPECT_THAT(journal_.linesOf("unload"), IsEmpty());
  release(2);
  EXPECT_EQ(status_.code(), 0);
  EXPECT_THAT(journal_.linesOf("unload"),
              ElementsAre("unload libeay32.dylib", "unload libssleay32.dylib"));
  EXPECT_THAT(records_.under("1"), Contains("1 | SslInitializerImplementation::ReleaseLibrary | "
                                            "refCount_ became zero, so unloading SSL libraries"));
}

TEST_F(SslInitializerImplementationTest, ThePlaceBeforeTheLastNumberIsTheLastThatIsIssued) {
  constexpr std::int32_t kLast = std::numeric_limits<std::int32_t>::max();
  Probe::setNextHandle(*singleton_, kLast - 1);
  EXPECT_EQ(load(), kLast - 1);
  EXPECT_EQ(load(), -1);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | SslInitializerImplementation::LoadLibrary | "
                          "All handle numbers have been issued"));
  status_.clear();
  release(kLast - 1);
  EXPECT_THAT(journal_.linesOf("unload"), testing::SizeIs(2));
}

TEST_F(SslInitializerImplementationTest, AStatusThatHoldsAFailureStopsEveryOperation) {
  status_.set(-7);
  EXPECT_EQ(load(), -1);
  singleton_->initialize(status_);
  release(1);
  EXPECT_EQ(status_.code(), -7);
  EXPECT_THAT(journal_.lines(), IsEmpty());
  EXPECT_THAT(records_.under("1"), IsEmpty());
}

TEST_F(SslInitializerImplementationTest, InitializeOnceDoneIsNotDoneAgain) {
  singleton_->initialize(status_);
  journal_.clearLines();
  singleton_->initialize(status_);
  EXPECT_EQ(status_.code(), 0);
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

TEST_F(SslInitializerImplementationTest, DestroyedWithHandlesOutUnloadsAndTakesTheLoggerAlong) {
  load();
  singleton_.reset();
  EXPECT_THAT(journal_.linesOf("unload"),
              ElementsAre("unload libeay32.dylib", "unload libssleay32.dylib"));
  EXPECT_EQ(g_pGLogger, nullptr);
  EXPECT_THAT(records_.under("ERROR"), IsEmpty());
}

// The message and the condition contradict each other, and stay as they are.
TEST_F(SslInitializerImplementationTest, DestroyedWithoutHandlesOnlyComplainsAboutHandles) {
  singleton_.reset();
  EXPECT_NE(g_pGLogger, nullptr);
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | SslInitializerImplementation::~SslInitializerImplementation | "
                          "DTOR called while refCount_ > 0"));
}

TEST_F(SslInitializerImplementationTest, SeedsTheGeneratorWithFourBytesOfTheDate) {
  load();
  journal_.clearLines();
  Probe::seedPRNG(*singleton_);
  EXPECT_THAT(
      journal_.lines(),
      ElementsAre(testing::MatchesRegex("RAND_seed\\(\"(Mon|Tue|Wed|Thu|Fri|Sat|Sun) \", 4\\)")));
}

TEST_F(SslInitializerImplementationTest, TellsThreadsApartByTheirPosixIdentity) {
  EXPECT_EQ(singleton_->xid(), static_cast<unsigned long>(pthread_self()));
}

TEST_F(SslInitializerImplementationTest, WhatNobodyCallsTracesItsScopeToo) {
  journal_.setLockCount(0);  // no locks, so no callbacks in between
  load();
  records_.clear();
  singleton_->xid();
  Probe::seedPRNG(*singleton_);
  EXPECT_THAT(records_.all(), ElementsAre("4 | SslInitializerImplementation::xid | In",
                                          "4 | SslInitializerImplementation::xid | Out",
                                          "4 | SslInitializerImplementation::seedPRNG | In",
                                          "4 | SslInitializerImplementation::seedPRNG | Out"));
}

TEST_F(SslInitializerImplementationTest, DestroyedTracesItsScopeAroundWhatItDoes) {
  singleton_.reset();
  const std::string name = "SslInitializerImplementation::~SslInitializerImplementation | ";
  EXPECT_THAT(records_.all(), ElementsAre("4 | " + name + "In",
                                          "ERROR | " + name + "DTOR called while refCount_ > 0",
                                          "4 | " + name + "Out"));
}

TEST_F(SslInitializerImplementationTest, DestroyedWithItsLoggerTracesNoExit) {
  load();
  records_.clear();
  singleton_.reset();
  EXPECT_THAT(records_.all(),
              ElementsAre("4 | SslInitializerImplementation::~SslInitializerImplementation | In",
                          "4 | SslInitializerImplementation::destroyObjects | In",
                          "4 | SslInitializerImplementation::destroyObjects | Out"));
}

TEST_F(SslInitializerImplementationTest, OperationsTraceTheirScopes) {
  journal_.setLockCount(0);  // no locks, so no callbacks in between
  load();
  release(1);
  const std::string name = "SslInitializerImplementation::";
  const auto in = [&](const char* f) { return "4 | " + name + f + " | In"; };
  const auto out = [&](const char* f) { return "4 | " + name + f + " | Out"; };
  EXPECT_THAT(
      records_.under("4"),
      ElementsAre(in("LoadLibrary"), in("initialize"), in("initializeOpenSSL"),
                  in("loadFunctionPointers"), out("loadFunctionPointers"), out("initializeOpenSSL"),
                  out("initialize"), out("LoadLibrary"), in("ReleaseLibrary"), in("destroyObjects"),
                  out("destroyObjects"), out("ReleaseLibrary")));
}

}  // namespace
}  // namespace qvsslinit
