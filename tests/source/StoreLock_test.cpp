#include "source/StoreLock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>

#include "tests/doubles/DeniedSystemCall.h"
#include "tests/doubles/InChild.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace qvsslinit {
namespace {

using namespace std::chrono_literals;
using qv::kit::String;

class StoreLockTest : public testing::Test {
 protected:
  bool canBeHad(std::chrono::milliseconds patience = 0ms) const {
    return StoreLock(directory_, patience).isHeld();
  }

  qv::tests::TemporaryDirectory temporary_;
  const String directory_{temporary_.path().c_str()};
};

TEST_F(StoreLockTest, IsHeldByOneAtATime) {
  {
    const StoreLock lock(directory_);
    EXPECT_TRUE(lock.isHeld());
    EXPECT_FALSE(canBeHad());
  }
  EXPECT_TRUE(canBeHad());
}

TEST_F(StoreLockTest, IsWaitedForAsLongAsPatienceLasts) {
  const StoreLock lock(directory_);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(canBeHad(50ms));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
}

TEST_F(StoreLockTest, TellsWhetherItIsAnotherThatHoldsIt) {
  const StoreLock lock(directory_);
  EXPECT_FALSE(lock.isHeldByAnother());
  EXPECT_TRUE(StoreLock(directory_, 0ms).isHeldByAnother());
  EXPECT_FALSE(StoreLock(String("/nonexistent"), 0ms).isHeldByAnother());
}

TEST_F(StoreLockTest, IsLeftByAProcessThatIsKilled) {
  EXPECT_THROW(qv::tests::InChild([this] {
                 const StoreLock lock(directory_);
                 return ::raise(SIGKILL);
               }),
               std::runtime_error);
  EXPECT_TRUE(canBeHad());
}

TEST_F(StoreLockTest, IsLeftThoughAChildHasTheDirectoryOpen) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  {
    const StoreLock lock(directory_);
    if (::fork() == 0) {
      ::close(ends[1]);
      char byte = 0;
      static_cast<void>(!::read(ends[0], &byte, 1));  // until the test is over
      ::_exit(0);
    }
  }
  EXPECT_TRUE(canBeHad());
  ::close(ends[0]);
  ::close(ends[1]);
}

// ThreadSanitizer cannot have a process fork in a signal handler.
#if !defined(__has_feature)
#define QV_MAY_FORK_IN_HANDLER
#elif !__has_feature(thread_sanitizer)
#define QV_MAY_FORK_IN_HANDLER
#endif
#if defined(QV_MAY_FORK_IN_HANDLER)

std::unique_ptr<StoreLock> g_heldByAnother;
volatile std::sig_atomic_t g_child = -1;

// A signal handler of the host's that forks a child, which goes on beside its parent.
TEST_F(StoreLockTest, StaysWithItsProcessWhenAChildWasForkedWhileItWaited) {
  g_heldByAnother = std::make_unique<StoreLock>(directory_);
  std::signal(SIGALRM, [](int) {
    g_child = ::fork();
    g_heldByAnother.reset();
  });
  const itimerval soon{{0, 0}, {0, 20000}};
  ::setitimer(ITIMER_REAL, &soon, nullptr);
  auto lock = std::make_unique<StoreLock>(directory_, 1min);
  while (g_child == -1)
    ::pause();
  if (g_child == 0) {
    lock.reset();
    ::_exit(0);
  }
  ::waitpid(g_child, nullptr, 0);
  EXPECT_TRUE(lock->isHeld());
  EXPECT_FALSE(canBeHad());
}

#endif

TEST_F(StoreLockTest, IsNotWaitedForWhereThereAreNoLocks) {
  EXPECT_EQ(qv::tests::InChild([this] {
              ::alarm(10);
              qv::tests::DenySystemCall(SYS_flock, ENOLCK);
              return canBeHad(1h) ? 1 : 0;
            }),
            0);
}

TEST_F(StoreLockTest, StaysWithItsProcessWhenAChildThatWasForkedMeanwhileLeavesItsScope) {
  auto lock = std::make_unique<StoreLock>(directory_);
  qv::tests::InChild([&] {
    lock.reset();
    return 0;
  });
  EXPECT_FALSE(canBeHad());
  lock.reset();
  EXPECT_TRUE(canBeHad());
}

TEST_F(StoreLockTest, IsNotInheritedByAProgramThatIsExecutedMeanwhile) {
  const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  ::close(next);
  const StoreLock lock(directory_);
  EXPECT_EQ(::fcntl(next, F_GETFD), FD_CLOEXEC);
}

TEST_F(StoreLockTest, LeavesNothingInTheDirectory) {
  const StoreLock lock(directory_);
  EXPECT_TRUE(std::filesystem::is_empty(temporary_.path()));
}

TEST_F(StoreLockTest, IsNotHeldWhereThereIsNoDirectory) {
  temporary_.write("file");
  EXPECT_FALSE(StoreLock(temporary_.path("none").c_str()).isHeld());
  EXPECT_FALSE(StoreLock(temporary_.path("file").c_str()).isHeld());
}

}  // namespace
}  // namespace qvsslinit
