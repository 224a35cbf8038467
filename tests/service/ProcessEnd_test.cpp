#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>

#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

struct Host {
  Installation installation;
  QvSslInitHandle* handle = nullptr;
};

Host* g_host = nullptr;

void EndLate() {
  g_host->installation.uninit(g_host->handle);
  if (g_host->installation.init() == nullptr) std::fputs("a late Init gave null", stderr);
}

// A handler that was registered before the library was loaded runs after the library's own
// destructors.
TEST(ProcessEnd, ExitHandlersOfTheHostMayCallBothFunctions) {
  Host host;
  g_host = &host;
  EXPECT_EXIT(
      {
        std::atexit(EndLate);
        host.handle = host.installation.init();
        std::exit(host.handle != nullptr ? 0 : 1);
      },
      testing::ExitedWithCode(0), "a late Init gave null");
}

void* InitWhileCancelled(void* argument) {
  auto* host = static_cast<Host*>(argument);
  pthread_cancel(pthread_self());
  host->handle = host->installation.init();
  pthread_testcancel();
  return nullptr;
}

TEST(Cancellation, WaitsUntilInitHasReturned) {
  Host host;
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, InitWhileCancelled, &host), 0);
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  ASSERT_NE(host.handle, nullptr);
  EXPECT_TRUE(host.installation.storeHas("server_certs/server_0.cer"));
  host.installation.uninit(host.handle);
}

// Where OpenSSL is unloaded there is enough that a thread could be cancelled in.
TEST(Cancellation, WaitsUntilTheLastUninitHasReturned) {
  Host host;
  ASSERT_NE(host.handle = host.installation.init(), nullptr);
  Journal::instance().onCall("unload libeay32.dylib", [] {
    pthread_cancel(pthread_self());
    pthread_testcancel();
  });
  pthread_t thread{};
  const auto uninit = [](void* argument) -> void* {
    auto* host = static_cast<Host*>(argument);
    host->installation.uninit(host->handle);
    pthread_testcancel();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, nullptr, uninit, &host), 0);
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  Journal::instance().onCall("unload libeay32.dylib", [] {});
  EXPECT_NE(host.installation.init(), nullptr);
}

}  // namespace
}  // namespace qv::tests
