#include "source/SslInitializer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "source/SingletonMutex.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/openssl/Journal.h"

// How handles and the mutex of the singleton go together.

namespace qvsslinit {
namespace {

using qv::tests::Journal;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kLoad = "load libeay32.dylib";
constexpr const char* kUnload = "unload libeay32.dylib";

/// Whether the thread of this process is waiting for something.
bool IsAsleep(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  const std::string line(std::istreambuf_iterator<char>(file), {});
  const auto name = line.rfind(") ");
  return name != std::string::npos && line[name + 2] == 'S';
}

class SslInitializerTest : public testing::Test {
 protected:
  SslInitializerTest() { ::setenv("QVPUBAPPDATADIR", directory_.path().c_str(), 1); }

  const qv::kit::osdep::CriticalSection& mutex_ = g_SingletonMutex;
  Journal& journal_ = Journal::instance();
  qv::tests::TemporaryDirectory directory_;
};

TEST_F(SslInitializerTest, StartsUnderTheMutexOfTheSingleton) {
  bool owned = false;
  journal_.onCall(kLoad, [&] { owned = mutex_.inOwningThread(); });
  const SslInitializer initializer;
  EXPECT_EQ(initializer.handle(), 1);
  EXPECT_TRUE(owned);
  EXPECT_FALSE(mutex_.inOwningThread());
}

TEST_F(SslInitializerTest, StartsAgainWithoutTheMutexOfTheSingleton) {
  std::make_unique<SslInitializer>().reset();
  bool owned = true;
  journal_.onCall(kLoad, [&] { owned = mutex_.inOwningThread(); });
  const SslInitializer initializer;
  EXPECT_EQ(initializer.handle(), 2);
  EXPECT_FALSE(owned);
}

TEST_F(SslInitializerTest, UnloadsUnderTheMutexOfTheSingleton) {
  bool owned = false;
  journal_.onCall(kUnload, [&] { owned = mutex_.inOwningThread(); });
  std::make_unique<SslInitializer>().reset();
  EXPECT_TRUE(owned);
  EXPECT_FALSE(mutex_.inOwningThread());
}

TEST_F(SslInitializerTest, WaitsForTheMutexOfTheSingletonToRelease) {
  auto initializer = std::make_unique<SslInitializer>();
  journal_.clearLines();
  std::atomic<pid_t> thread{0};
  std::atomic<bool> released{false};
  mutex_.enter();
  std::thread releasing([&] {
    thread = ::gettid();
    initializer.reset();
    released = true;
  });
  while (!released && (thread == 0 || !IsAsleep(thread)))
    std::this_thread::yield();
  EXPECT_FALSE(released);
  EXPECT_THAT(journal_.lines(), IsEmpty());
  mutex_.leave();
  releasing.join();
  EXPECT_THAT(journal_.lines(), ElementsAre(kUnload, "unload libssleay32.dylib"));
}

}  // namespace
}  // namespace qvsslinit
