#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kThreads = 8;

/// Runs work in many threads that start together.
template <typename Work>
void Together(Work work) {
  std::promise<void> start;
  const std::shared_future<void> started(start.get_future());
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      started.wait();
      work(i);
    });
  }
  start.set_value();
  for (std::thread& thread : threads)
    thread.join();
}

class Threads : public testing::Test {
 protected:
  Installation installation_;
  // Called directly: nothing of the test's own orders the threads.
  decltype(QVSSLINIT_Init)* init_ = installation_.find<decltype(QVSSLINIT_Init)>("QVSSLINIT_Init");
  decltype(QVSSLINIT_Uninit)* uninit_ =
      installation_.find<decltype(QVSSLINIT_Uninit)>("QVSSLINIT_Uninit");
  Journal& journal_ = Journal::instance();
};

TEST_F(Threads, ThatInitAtOnceStartOpensslOnceAndGetAHandleEach) {
  std::vector<QvSslInitHandle*> handles(kThreads);
  Together([&](int i) { handles[static_cast<std::size_t>(i)] = init_(); });
  EXPECT_THAT(handles, Each(testing::NotNull()));
  EXPECT_THAT(std::set<QvSslInitHandle*>(handles.begin(), handles.end()), SizeIs(kThreads));
  EXPECT_THAT(journal_.linesOf("SSL_library_init"), SizeIs(1));
  EXPECT_THAT(journal_.linesOf("X509_new"), SizeIs(1));
  for (QvSslInitHandle* handle : handles)
    uninit_(handle);
}

TEST_F(Threads, ThatUninitAtOnceUnloadOpensslOnce) {
  std::vector<QvSslInitHandle*> handles;
  for (int i = 0; i < kThreads; ++i)
    handles.push_back(init_());
  Together([&](int i) { uninit_(handles[static_cast<std::size_t>(i)]); });
  EXPECT_THAT(journal_.linesOf("unload"),
              ElementsAre("unload libeay32.dylib", "unload libssleay32.dylib"));
}

TEST_F(Threads, ThatInitAndUninitForThemselvesLeaveEverythingGivenBack) {
  constexpr int kRounds = 25;
  TraceRecords traces(installation_.traceSink());
  std::atomic<int> failures{0};
  Together([&](int) {
    for (int i = 0; i < kRounds; ++i) {
      QvSslInitHandle* handle = init_();
      if (handle == nullptr) ++failures;
      uninit_(handle);
    }
  });
  EXPECT_EQ(failures, 0);
  EXPECT_THAT(traces.under("ERROR"), IsEmpty());
  const auto loads = journal_.linesOf("load libeay32.dylib").size();
  EXPECT_GE(loads, 1u);
  EXPECT_THAT(journal_.linesOf("unload libeay32.dylib"), SizeIs(loads));
  EXPECT_THAT(journal_.linesOf("load libssleay32.dylib"), SizeIs(loads));
  EXPECT_THAT(journal_.linesOf("unload libssleay32.dylib"), SizeIs(loads));
  EXPECT_THAT(journal_.linesOf("SSL_library_init"), SizeIs(loads));
  EXPECT_THAT(journal_.liveObjects(), IsEmpty());

  // Every number from 1 on was issued exactly once, and the next one is the next.
  traces.clear();
  EXPECT_NE(installation_.init(), nullptr);
  EXPECT_THAT(traces.under("1"),
              ElementsAre("1 | SslInitializerImplementation::LoadLibrary | returning status=ok, "
                          "handle=" +
                          std::to_string(kThreads * kRounds + 1) + ", refCount_=1"));
}

TEST_F(Threads, ThatLockThroughOpensslAreNotDisturbedByInitsAndUninits) {
  journal_.setLockCount(3);
  QvSslInitHandle* keeps = init_();
  const Journal::Callbacks callbacks = journal_.callbacks();
  int counter = 0;
  constexpr int kRounds = 500;
  Together([&](int i) {
    for (int round = 0; round < kRounds; ++round) {
      if (i % 2 == 0) {
        callbacks.locking(1, 2, "", 0);
        ++counter;
        callbacks.locking(2, 2, "", 0);
      } else if (round % 20 == 0) {
        uninit_(init_());
      }
    }
  });
  EXPECT_EQ(counter, kThreads / 2 * kRounds);
  EXPECT_THAT(journal_.linesOf("unload"), IsEmpty());
  uninit_(keeps);
  EXPECT_THAT(journal_.linesOf("unload"), SizeIs(2));
}

TEST_F(Threads, ThatUsedOpensslMayEndAfterItAndTheLibraryAreGone) {
  journal_.setLockCount(1);
  QvSslInitHandle* handle = init_();
  std::promise<void> isUsed;
  std::promise<void> isGone;
  std::thread thread([&] {
    void* crypto =
        ::dlopen(installation_.directory().path(Installation::kCryptoFile).c_str(), RTLD_NOW);
    reinterpret_cast<unsigned long (*)()>(::dlsym(crypto, "ERR_get_error"))();
    ::dlclose(crypto);
    isUsed.set_value();
    isGone.get_future().wait();
  });
  isUsed.get_future().wait();
  uninit_(handle);
  installation_.closeLibrary();
  EXPECT_THAT(journal_.linesOf("unload"), SizeIs(2));
  isGone.set_value();
  thread.join();
}

TEST_F(Threads, ThatAllFailStillAllGetNull) {
  installation_.removeOpenssl();
  std::atomic<int> handles{0};
  Together([&](int) {
    for (int i = 0; i < 10; ++i)
      handles += init_() != nullptr ? 1 : 0;
  });
  EXPECT_EQ(handles, 0);
  installation_.install(kWithAccessors);
  EXPECT_NE(installation_.init(), nullptr);
}

}  // namespace
}  // namespace qv::tests
