#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "include/qvsslinit.h"
#include "source/CRYPTO_dynlock_value.h"
#include "source/OpensslCallbacks.h"
#include "source/SingletonMutex.h"
#include "source/SslInitializer.h"
#include "source/SslInitializerImplementation.h"
#include "source/client/TraceTagEE.h"
#include "tests/doubles/SslInitializerImplementationProbe.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/openssl/Journal.h"

// Many threads that do in any order what threads may do, traced by the engine that is shipped. The
// service is linked in, so that the threads can trace as it does itself. The doubles of OpenSSL lie
// beside this program.

namespace qv::tests {
namespace {

using kit::osdep::CriticalSection;
using qvsslinit::SslInitializer;
using testing::Each;
using testing::IsEmpty;
using Probe = qvsslinit::SslInitializerImplementationProbe;

constexpr int kUsers = 16;
constexpr int kOpensslThreads = 4;
constexpr int kStrangers = 2;
constexpr int kThreads = kUsers + kOpensslThreads + kStrangers;
constexpr int kMostLocks = 8;
constexpr int kTag = 9;
constexpr int kTagThatIsOff = 10;

constexpr int kLock = 1;
constexpr int kUnlock = 2;
constexpr int kWrite = 8;

/// A number that the environment may set.
long Setting(const char* name, long otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::atol(text);
}

/// Whether another thread can take a lock at once.
bool IsFree(const CriticalSection& lock) {
  return std::async(std::launch::async,
                    [&lock] {
                      const bool isFree = lock.tryEnter();
                      if (isFree) lock.leave();
                      return isFree;
                    })
      .get();
}

/// The numbers that Init issues, seen from all threads.
class Numbers {
 public:
  /// An Init in this thread; null when it fails, which is counted.
  QvSslInitHandle* init(std::vector<std::int32_t>& issued) {
    const std::int32_t before = highest_;
    QvSslInitHandle* handle = QVSSLINIT_Init();
    if (handle == nullptr) {
      ++failures_;
      return nullptr;
    }
    const std::int32_t number = reinterpret_cast<const SslInitializer*>(handle)->handle();
    // Whatever was there before this Init began has a smaller number.
    if (number <= before) ++failures_;
    for (std::int32_t seen = before; seen < number;) {
      if (highest_.compare_exchange_weak(seen, number)) break;
    }
    issued.push_back(number);
    return handle;
  }
  int failures() const { return failures_; }

 private:
  std::atomic<std::int32_t> highest_{0};
  std::atomic<int> failures_{0};
};

/// What the threads of OpenSSL keep under its locks: two threads at once would lose changes.
struct Guarded {
  std::array<long, kMostLocks> byStaticLock{};
  long byDynamicLock = 0;
  CRYPTO_dynlock_value* dynamicLock = nullptr;
};

/// A thread's own source of chance.
class Chance {
 public:
  explicit Chance(unsigned long seed) : engine_(static_cast<std::mt19937::result_type>(seed)) {}
  int below(std::size_t end) { return static_cast<int>(engine_() % end); }

 private:
  std::mt19937 engine_;
};

/// A thread of the host that takes and gives back handles and traces.
class User {
 public:
  User(unsigned long seed, Numbers& numbers) : chance_(seed), numbers_(numbers) {}

  void run(long operations) {
    for (long i = 0; i < operations; ++i)
      operate();
    while (!handles_.empty())
      giveBack();
  }
  const std::vector<std::int32_t>& issued() const { return issued_; }

 private:
  void operate() {
    static constexpr std::size_t kMostHandles = 4;
    switch (chance_.below(8)) {
      case 0:
      case 1:
        return handles_.size() < kMostHandles ? take() : giveBack();
      case 2:
      case 3:
        return handles_.empty() ? take() : giveBack();
      case 4:
        EXPECT_TRUE(traceengine::XTraceTagIsEnabled(qvsslinit::g_pGLogger, kTag));
        EXPECT_FALSE(traceengine::XTraceTagIsEnabled(qvsslinit::g_pGLogger, kTagThatIsOff));
        return;
      case 5:
        return traceengine::XTraceLog(qvsslinit::g_pGLogger, kTag, "User", "%zu handles",
                                      handles_.size());
      case 6:
        return traceengine::XTraceError(qvsslinit::g_pGLogger, "User", "no error %d", kTag);
      default:
        const traceengine::TraceTagEE scope(kTag, "User::operate");
    }
  }
  void take() {
    QvSslInitHandle* handle = numbers_.init(issued_);
    if (handle != nullptr) handles_.push_back(handle);
  }
  void giveBack() {
    const auto which = handles_.begin() + chance_.below(handles_.size());
    QVSSLINIT_Uninit(*which);
    handles_.erase(which);
  }

  Chance chance_;
  Numbers& numbers_;
  std::vector<QvSslInitHandle*> handles_;
  std::vector<std::int32_t> issued_;
};

/// A thread in which OpenSSL works, and calls back. Its owner holds a handle meanwhile, as it must.
class OpensslThread {
 public:
  OpensslThread(unsigned long seed, Numbers& numbers, Guarded& guarded, int locks)
      : chance_(seed), numbers_(numbers), guarded_(guarded), locks_(locks) {}

  void run(long operations) {
    QvSslInitHandle* handle = numbers_.init(issued_);
    if (handle == nullptr) return;
    callbacks_ = Journal::instance().callbacks();
    for (long i = 0; i < operations; ++i)
      operate();
    QVSSLINIT_Uninit(handle);
  }
  const std::vector<std::int32_t>& issued() const { return issued_; }
  long changes() const { return changes_; }

 private:
  void operate() {
    switch (chance_.below(5)) {
      case 0:
        return changeUnderDynamicLock();
      case 1:
        return useLockOfItsOwn();
      case 2:
        EXPECT_EQ(callbacks_.id(), static_cast<unsigned long>(::pthread_self()));
        return;
      default:
        return changeUnderStaticLock();
    }
  }
  void changeUnderStaticLock() {
    const int n = chance_.below(static_cast<std::size_t>(locks_));
    const int mode = chance_.below(2) * kWrite;
    const int depth = 1 + chance_.below(2);
    for (int i = 0; i < depth; ++i)
      callbacks_.locking(kLock | mode, n, __FILE__, __LINE__);
    change(guarded_.byStaticLock[static_cast<std::size_t>(n)]);
    // One that it does not hold, unless it is the same.
    const int other = chance_.below(static_cast<std::size_t>(locks_));
    if (other != n) callbacks_.locking(kUnlock | mode, other, __FILE__, __LINE__);
    for (int i = 0; i < depth; ++i)
      callbacks_.locking(kUnlock | mode, n, __FILE__, __LINE__);
  }
  void changeUnderDynamicLock() {
    callbacks_.dynlockLock(kLock | kWrite, guarded_.dynamicLock, __FILE__, __LINE__);
    change(guarded_.byDynamicLock);
    callbacks_.dynlockLock(kUnlock | kWrite, guarded_.dynamicLock, __FILE__, __LINE__);
  }
  /// In a way that another thread would spoil.
  void change(long& number) {
    const long before = number;
    if (chance_.below(4) == 0) std::this_thread::yield();
    number = before + 1;
    ++changes_;
  }
  void useLockOfItsOwn() {
    CRYPTO_dynlock_value* own = callbacks_.dynlockCreate(__FILE__, __LINE__);
    callbacks_.dynlockLock(kLock, own, __FILE__, __LINE__);
    callbacks_.dynlockLock(kUnlock, own, __FILE__, __LINE__);
    callbacks_.dynlockDestroy(own, __FILE__, __LINE__);
  }

  Chance chance_;
  Numbers& numbers_;
  Guarded& guarded_;
  int locks_;
  Journal::Callbacks callbacks_;
  long changes_ = 0;
  std::vector<std::int32_t> issued_;
};

/// A thread of a component that knows nothing of us and uses the same OpenSSL: it calls back at any
/// time, even while the last handle goes.
class Stranger {
 public:
  Stranger(unsigned long seed, int locks) : chance_(seed), locks_(locks) {}

  void run(long operations) {
    for (long i = 0; i < operations; ++i) {
      const int n = chance_.below(static_cast<std::size_t>(locks_));
      qvsslinit::lock(kLock, n, __FILE__, __LINE__);
      if (chance_.below(4) == 0) std::this_thread::yield();
      qvsslinit::lock(kUnlock, n, __FILE__, __LINE__);
    }
  }

 private:
  Chance chance_;
  int locks_;
};

class Stress : public testing::Test {
 protected:
  Stress() {
    directory_.makeDirectory("data");
    directory_.write("qvsslinit.cfg",
                     "RefCount : 1 : yes\nInitializer : 4 : yes\nCertificate : 5 : yes\n"
                     "CertCreator : 6 : yes\nTest : 9 : yes\nOff : 10 : no\n");
    ::setenv("QVPUBAPPDATADIR", directory_.path("data").c_str(), 1);
    ::setenv("QV_TRACE_CONFIG_DIR", directory_.path().c_str(), 1);
    ::setenv("QV_TRACE_OUTPUT", "/dev/null", 1);
  }

  /// One life of OpenSSL after another, with all threads at once, and none left in the end.
  void runRound(unsigned long seed, long operationsEach) {
    const int locks = 1 + static_cast<int>(seed % kMostLocks);
    journal_.setLockCount(locks);
    std::vector<User> users;
    std::vector<OpensslThread> opensslThreads;
    std::vector<Stranger> strangers;
    for (unsigned long i = 0; i < kUsers; ++i)
      users.emplace_back(seed * kThreads + i, numbers_);
    for (unsigned long i = 0; i < kOpensslThreads; ++i)
      opensslThreads.emplace_back(seed * kThreads + kUsers + i, numbers_, guarded_, locks);
    for (unsigned long i = 1; i <= kStrangers; ++i)
      strangers.emplace_back(seed * kThreads + kThreads - i, locks);

    std::vector<std::thread> threads;
    for (User& user : users)
      threads.emplace_back([&] { user.run(operationsEach); });
    for (OpensslThread& thread : opensslThreads)
      threads.emplace_back([&] { thread.run(operationsEach); });
    for (Stranger& stranger : strangers)
      threads.emplace_back([&] { stranger.run(operationsEach); });
    for (std::thread& thread : threads)
      thread.join();

    for (const User& user : users)
      takeUp(user.issued());
    for (const OpensslThread& thread : opensslThreads) {
      takeUp(thread.issued());
      changes_ += thread.changes();
    }
    expectNothingLeft();
  }

  void takeUp(const std::vector<std::int32_t>& issued) {
    for (const std::int32_t number : issued) {
      ASSERT_GT(number, 0);
      if (static_cast<std::size_t>(number) >= timesIssued_.size())
        timesIssued_.resize(static_cast<std::size_t>(number) + 1, 0);
      ++timesIssued_[static_cast<std::size_t>(number)];
    }
  }

  void expectNothingLeft() {
    EXPECT_EQ(Probe::refCount(*qvsslinit::g_pInitializerSingleton), 0);
    EXPECT_THAT(Probe::handles(*qvsslinit::g_pInitializerSingleton), IsEmpty());
    EXPECT_THAT(journal_.misuses(), IsEmpty());
    EXPECT_THAT(journal_.liveObjects(), IsEmpty());
    const std::size_t loads = journal_.linesOf("load libeay32.dylib").size();
    EXPECT_GE(loads, 1U);
    EXPECT_EQ(journal_.linesOf("unload libeay32.dylib").size(), loads);
    EXPECT_EQ(journal_.linesOf("unload libssleay32.dylib").size(), loads);
    lives_ += loads;
    journal_.clearLines();
  }

  TemporaryDirectory directory_;
  Journal& journal_ = Journal::instance();
  Numbers numbers_;
  Guarded guarded_;
  std::vector<int> timesIssued_;
  long changes_ = 0;
  std::size_t lives_ = 0;
};

TEST_F(Stress, OfThreadsThatDoAllThatTheyMayLeavesNothingBehind) {
  const long operations = Setting("QV_STRESS_OPERATIONS", 40000);
  const auto seed = static_cast<unsigned long>(Setting("QV_STRESS_SEED", 1));
  constexpr long kOperationsEach = 100;
  const long rounds = (operations + kThreads * kOperationsEach - 1) / (kThreads * kOperationsEach);

  std::vector<std::int32_t> first;
  QVSSLINIT_Uninit(numbers_.init(first));
  takeUp(first);
  ASSERT_NE(qvsslinit::g_pInitializerSingleton, nullptr);
  guarded_.dynamicLock = qvsslinit::dynlockCreate(__FILE__, __LINE__);
  expectNothingLeft();
  for (long round = 0; round < rounds && !HasFailure(); ++round)
    runRound(seed + static_cast<unsigned long>(round), kOperationsEach);
  std::printf("%ld operations in %ld rounds of %d threads, %zu lives of OpenSSL, %zu handles\n",
              rounds * kThreads * kOperationsEach, rounds, kThreads, lives_,
              timesIssued_.size() - 1);

  // Every number from 1 on, once.
  EXPECT_EQ(numbers_.failures(), 0);
  timesIssued_.front() = 1;
  EXPECT_THAT(timesIssued_, Each(1));
  EXPECT_EQ(std::accumulate(guarded_.byStaticLock.begin(), guarded_.byStaticLock.end(),
                            guarded_.byDynamicLock),
            changes_);
  EXPECT_TRUE(IsFree(qvsslinit::g_SingletonMutex));
  EXPECT_TRUE(IsFree(Probe::lock(*qvsslinit::g_pInitializerSingleton)));
  EXPECT_TRUE(IsFree(guarded_.dynamicLock->criticalSection));
  qvsslinit::dynlockDestroy(guarded_.dynamicLock, __FILE__, __LINE__);
}

#ifdef QV_LOCK_ORDER_IS_WATCHED
// What would make the test above worth little: a detector that is off or does not know our locks.
using StressDeathTest = Stress;  // runs first, for a child with threads would be none of this test

TEST_F(StressDeathTest, UnderThreadSanitizerTellsOfLocksTakenInTheOtherOrder) {
  const auto takeInTheOtherOrder = [] {
    QVSSLINIT_Uninit(QVSSLINIT_Init());
    const CriticalSection::Guard inner(Probe::lock(*qvsslinit::g_pInitializerSingleton));
    const CriticalSection::Guard outer(qvsslinit::g_SingletonMutex);
  };
  EXPECT_EXIT(
      {
        takeInTheOtherOrder();
        std::exit(0);
      },
      testing::ExitedWithCode(66), "lock-order-inversion");
}
#endif

}  // namespace
}  // namespace qv::tests
