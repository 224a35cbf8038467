#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kLock = 1;
constexpr int kUnlock = 2;
constexpr int kRead = 4;
constexpr int kWrite = 8;

/// Runs enter and leave around a change that two threads at once would lose, in many threads.
template <typename Enter, typename Leave>
void ExpectExclusion(Enter enter, Leave leave) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 2000;
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < kRounds; ++i) {
      enter();
      const int seen = counter;
      if (i % 64 == 0) std::this_thread::yield();
      counter = seen + 1;
      leave();
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back(count);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(counter, kThreads * kRounds);
}

class Locks : public testing::Test {
 protected:
  /// Starts OpenSSL with this many locks.
  Journal::Callbacks start(int locks) {
    journal_.setLockCount(locks);
    handle_ = installation_.init();
    EXPECT_NE(handle_, nullptr);
    return journal_.callbacks();
  }
  void stop() { installation_.uninit(handle_); }

  static void expectExclusion(const Journal::Callbacks& callbacks, int lockMode, int unlockMode,
                              int n) {
    ExpectExclusion([&] { callbacks.locking(lockMode, n, __FILE__, __LINE__); },
                    [&] { callbacks.locking(unlockMode, n, __FILE__, __LINE__); });
  }

  Installation installation_;
  Journal& journal_ = Journal::instance();
  QvSslInitHandle* handle_ = nullptr;
};

TEST_F(Locks, AreEnteredForReading) {
  expectExclusion(start(1), kLock | kRead, kUnlock | kRead, 0);
}

TEST_F(Locks, AreEnteredForWriting) {
  expectExclusion(start(1), kLock | kWrite, kUnlock | kWrite, 0);
}

TEST_F(Locks, DoNotTellReadersAndWritersApart) {
  const Journal::Callbacks callbacks = start(1);
  int mode = kRead;
  ExpectExclusion(
      [&] {
        callbacks.locking(kLock | kWrite, 0, "", 0);
        mode = mode == kRead ? kWrite : kRead;
      },
      [&] { callbacks.locking(kUnlock | mode, 0, "", 0); });
}

TEST_F(Locks, AreAsManyAsOpensslAsksForAndIndependent) {
  constexpr int kCount = 41;
  const Journal::Callbacks callbacks = start(kCount);
  for (int held = 0; held < kCount; ++held) {
    callbacks.locking(kLock | kWrite, held, "", 0);
    // Would wait for ever if two numbers meant the same lock.
    std::thread([&] {
      for (int n = 0; n < kCount; ++n) {
        if (n == held) continue;
        callbacks.locking(kLock | kWrite, n, "", 0);
        callbacks.locking(kUnlock | kWrite, n, "", 0);
      }
    }).join();
    callbacks.locking(kUnlock | kWrite, held, "", 0);
  }
}

TEST_F(Locks, MayBeEnteredAgainByTheThreadThatHoldsThem) {
  const Journal::Callbacks callbacks = start(1);
  ExpectExclusion(
      [&] {
        callbacks.locking(kLock | kRead, 0, "", 0);
        callbacks.locking(kLock | kWrite, 0, "", 0);
        callbacks.locking(kUnlock | kWrite, 0, "", 0);
      },
      [&] { callbacks.locking(kUnlock | kRead, 0, "", 0); });
}

TEST_F(Locks, AreNotLeftForAThreadThatDoesNotHoldThem) {
  const Journal::Callbacks callbacks = start(1);
  ExpectExclusion(
      [&] {
        callbacks.locking(kUnlock | kWrite, 0, "", 0);
        callbacks.locking(kLock | kWrite, 0, "", 0);
      },
      [&] { callbacks.locking(kUnlock | kWrite, 0, "", 0); });
}

TEST_F(Locks, ExcludeAsLongAsOpensslIsBeingUnloaded) {
  const Journal::Callbacks callbacks = start(3);
  int unloads = 0;
  for (const char* unload : {"unload libeay32.dylib", "unload libssleay32.dylib"}) {
    journal_.onCall(unload, [&] {
      ++unloads;
      expectExclusion(callbacks, kLock | kWrite, kUnlock | kWrite, 0);
      expectExclusion(callbacks, kLock | kWrite, kUnlock | kWrite, 2);
    });
  }
  stop();
  EXPECT_EQ(unloads, 2);
}

TEST_F(Locks, WorkWhileTheCertificateIsMade) {
  start(7);
  EXPECT_GT(journal_.lockCalls(), 40u);
  EXPECT_TRUE(installation_.storeHas("server_certs/server_0.cer"));
}

TEST_F(Locks, ExistBeforeOpensslLearnsOfThem) {
  journal_.setLockCount(3);
  journal_.onCall("CRYPTO_set_id_callback", [&] {
    const auto locking = journal_.callbacks().locking;
    ASSERT_NE(locking, nullptr);
    for (int n = 0; n < 3; ++n) {
      locking(kLock | kWrite, n, "", 0);
      locking(kUnlock | kWrite, n, "", 0);
    }
  });
  EXPECT_NE(installation_.init(), nullptr);
}

class NoLocks : public Locks, public testing::WithParamInterface<int> {};

TEST_P(NoLocks, StillInstallsTheCallbacksAndLocksNothing) {
  const Journal::Callbacks callbacks = start(GetParam());
  EXPECT_NE(callbacks.locking, nullptr);
  EXPECT_NE(callbacks.id, nullptr);
  EXPECT_NE(callbacks.dynlockCreate, nullptr);
  EXPECT_NE(callbacks.dynlockLock, nullptr);
  EXPECT_NE(callbacks.dynlockDestroy, nullptr);
  callbacks.locking(kLock | kWrite, 0, "", 0);
  std::thread([&] { callbacks.locking(kLock | kWrite, 0, "", 0); }).join();
}

TEST_P(NoLocks, MayFollowAStartWithLocks) {
  start(3);
  stop();
  const Journal::Callbacks callbacks = start(GetParam());
  callbacks.locking(kLock | kWrite, 2, "", 0);
  std::thread([&] { callbacks.locking(kLock | kWrite, 2, "", 0); }).join();
}

TEST_P(NoLocks, MayComeBeforeAStartWithLocks) {
  start(GetParam());
  stop();
  expectExclusion(start(2), kLock | kWrite, kUnlock | kWrite, 1);
}

INSTANTIATE_TEST_SUITE_P(ZeroAndBelow, NoLocks, testing::Values(0, -1, -2147483647 - 1),
                         [](const auto& info) {
                           return info.param == 0    ? "Zero"
                                  : info.param == -1 ? "MinusOne"
                                                     : "Least";
                         });

TEST_F(Locks, AreMadeAnewWithTheNewCountAfterAReload) {
  start(2);
  stop();
  const Journal::Callbacks callbacks = start(64);
  expectExclusion(callbacks, kLock | kRead, kUnlock | kRead, 63);
}

TEST_F(Locks, AreFewerAfterAReloadThatAsksForFewer) {
  start(64);
  stop();
  expectExclusion(start(1), kLock | kRead, kUnlock | kRead, 0);
}

TEST_F(Locks, TellThreadsApart) {
  const Journal::Callbacks callbacks = start(1);
  EXPECT_EQ(callbacks.id(), static_cast<unsigned long>(::pthread_self()));
  std::thread other(
      [&] { EXPECT_EQ(callbacks.id(), static_cast<unsigned long>(::pthread_self())); });
  const auto identity = static_cast<unsigned long>(other.native_handle());
  other.join();
  EXPECT_NE(callbacks.id(), identity);
}

TEST_F(Locks, AreMadeAtRunTimeAsWell) {
  const Journal::Callbacks callbacks = start(1);
  CRYPTO_dynlock_value* first = callbacks.dynlockCreate(__FILE__, __LINE__);
  CRYPTO_dynlock_value* second = callbacks.dynlockCreate(__FILE__, __LINE__);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
  callbacks.dynlockLock(kLock | kWrite, second, "", 0);
  ExpectExclusion([&] { callbacks.dynlockLock(kLock | kRead, first, "", 0); },
                  [&] { callbacks.dynlockLock(kUnlock | kRead, first, "", 0); });
  callbacks.dynlockLock(kUnlock | kWrite, second, "", 0);
  callbacks.dynlockDestroy(first, __FILE__, __LINE__);
  callbacks.dynlockDestroy(second, __FILE__, __LINE__);
}

TEST_F(Locks, OfTheRunTimeKindMayBeDestroyedWhereThereIsNone) {
  start(1).dynlockDestroy(nullptr, __FILE__, __LINE__);
}

class ResidentOpenssl : public Locks {
 protected:
  ResidentOpenssl() { installation_.install(kResident); }
};

TEST_F(ResidentOpenssl, CallsBackHarmlesslyAfterTheLastUninit) {
  const Journal::Callbacks callbacks = start(5);
  stop();
  EXPECT_THAT(journal_.linesOf("unload"), ElementsAre("unload libssleay32.dylib"));

  for (int n = 0; n < 5; ++n) {
    callbacks.locking(kLock | kWrite, n, "", 0);
    callbacks.locking(kUnlock | kWrite, n, "", 0);
  }
  EXPECT_EQ(callbacks.id(), static_cast<unsigned long>(::pthread_self()));
  CRYPTO_dynlock_value* dynlock = callbacks.dynlockCreate("", 0);
  ASSERT_NE(dynlock, nullptr);
  callbacks.dynlockLock(kLock, dynlock, "", 0);
  callbacks.dynlockLock(kUnlock, dynlock, "", 0);
  callbacks.dynlockDestroy(dynlock, "", 0);
}

TEST_F(ResidentOpenssl, CallsBackHarmlesslyAfterTheHostClosedTheLibrary) {
  start(5);
  stop();
  installation_.closeLibrary();
  void* crypto = ::dlopen(installation_.directory().path(Installation::kCryptoFile).c_str(),
                          RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(crypto, nullptr);
  const auto before = journal_.lockCalls();
  const auto make = reinterpret_cast<void* (*)()>(::dlsym(crypto, "X509_NAME_new"));
  const auto free = reinterpret_cast<void (*)(void*)>(::dlsym(crypto, "X509_NAME_free"));
  free(make());
  EXPECT_EQ(journal_.lockCalls(), before + 2);
  ::dlclose(crypto);
}

TEST_F(ResidentOpenssl, FindsItsLocksAgainAfterAnotherInit) {
  start(5);
  stop();
  expectExclusion(start(5), kLock | kWrite, kUnlock | kWrite, 4);
  EXPECT_THAT(journal_.linesOf("load libeay32.dylib"), testing::SizeIs(1));
}

}  // namespace
}  // namespace qv::tests
