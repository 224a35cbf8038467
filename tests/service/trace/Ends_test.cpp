#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "tests/doubles/engine/EngineJournal.h"
#include "tests/doubles/openssl/OpensslDouble.h"

// What may happen to a process, a thread or the library at the wrong moment. The library is the one
// that is shipped, and traces; the host is a process of its own that is killed when it hangs.

namespace qv::tests {
namespace {

constexpr int kLock = 1;
constexpr int kUnlock = 2;
constexpr unsigned kDeadlineSeconds = 60;

/// Ends a host that found something wrong.
void Require(bool isSo, const char* what) {
  if (isSo) return;
  std::fprintf(stderr, "not so: %s\n", what);
  ::_exit(1);
}

/// Forks, lets the child do work and requires that it ends well, by itself or with the work.
void ForkAndWait(const std::function<void()>& work) {
  const pid_t child = ::fork();
  Require(child != -1, "there is a child");
  if (child == 0) {
    ::alarm(kDeadlineSeconds);
    work();
    ::_exit(0);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) == -1) {
  }
  Require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "the child ended well");
}

class Ends : public testing::Test {
 protected:
  Ends() {
    std::filesystem::copy_file(QV_TRACE_ENGINE,
                               installation_.directory().path("lib/" QV_ENGINE_FILE));
    installation_.directory().write("qvsslinit.cfg", "RefCount : 1 : yes\nInitializer : 4 : yes\n");
    const std::string directory = installation_.directory().path();
    // Where a sanitizer is at work it finds the double of the engine instead.
    EngineJournal::instance().script.configDirectory.assign(directory.begin(), directory.end());
    ::setenv("QV_TRACE_CONFIG_DIR", directory.c_str(), 1);
    ::setenv("QV_TRACE_OUTPUT", installation_.directory().path("records").c_str(), 1);
    journal_.setLockCount(3);
  }

  /// Expects that a host ends well, be it in the middle of its work.
  static void expectGoodEnd(const std::function<void()>& host) {
    EXPECT_EXIT(
        {
          ::alarm(kDeadlineSeconds);
          host();
          std::exit(0);
        },
        testing::ExitedWithCode(0), "");
  }

  QvSslInitHandle* initSurely() {
    QvSslInitHandle* handle = installation_.init();
    Require(handle != nullptr, "Init gives a handle");
    return handle;
  }
  void enterAndLeave(const Journal::Callbacks& callbacks) const {
    callbacks.locking(kLock, 2, "", 0);
    callbacks.locking(kUnlock, 2, "", 0);
  }
  std::size_t unloads() const { return journal_.linesOf("unload").size(); }

  Installation installation_;
  Journal& journal_ = Journal::instance();
};

TEST_F(Ends, OfAProcessWithHandlesOutAndAThreadInOpensslAreGood) {
  // The double of the engine goes with the process, which ours never does: it gets no tags.
  EngineJournal::instance().script.configDirectory.clear();
  expectGoodEnd([this] {
    initSurely();
    initSurely();
    const Journal::Callbacks callbacks = journal_.callbacks();
    std::promise<void> isAtWork;
    std::thread thread([&, callbacks] {
      enterAndLeave(callbacks);
      isAtWork.set_value();
      while (true)
        enterAndLeave(callbacks);
    });
    thread.detach();
    isAtWork.get_future().wait();
    std::exit(0);
  });
}

/// A static object of a host.
class LateObject {
 public:
  LateObject() = default;
  LateObject(const LateObject&) = delete;
  LateObject& operator=(const LateObject&) = delete;
  ~LateObject() {
    installation->uninit(handle);
    Require(installation->init() == nullptr, "an Init at the very end gives null");
  }

  Installation* installation = nullptr;
  QvSslInitHandle* handle = nullptr;
};

TEST_F(Ends, AreGoodForAStaticObjectThatOutlivesTheLibrarysOwnAndCallsBothFunctions) {
  expectGoodEnd([this] {
    static LateObject late;
    late.installation = &installation_;
    late.handle = initSurely();
  });
}

std::function<void()> g_atExit;

TEST_F(Ends, AreGoodForAHandlerThatComesBeforeThemAndStillGetsOpenssl) {
  expectGoodEnd([this] {
    QvSslInitHandle* handle = initSurely();
    g_atExit = [this, handle] {
      installation_.uninit(handle);
      Require(unloads() == 2, "the last Uninit unloads OpenSSL");
      initSurely();
    };
    std::atexit([] { g_atExit(); });
  });
}

TEST_F(Ends, OfTheLastHandleInAChildAreItsOwn) {
  expectGoodEnd([this] {
    QvSslInitHandle* first = initSurely();
    QvSslInitHandle* second = initSurely();
    ForkAndWait([&] {
      QvSslInitHandle* third = initSurely();
      for (QvSslInitHandle* handle : {first, second, third}) {
        Require(unloads() == 0, "OpenSSL stays until the last handle goes");
        installation_.uninit(handle);
      }
      Require(unloads() == 2, "the child unloads its OpenSSL");
      installation_.uninit(initSurely());
      std::exit(0);
    });
    installation_.uninit(first);
    Require(unloads() == 0, "the parent has a handle left");
    installation_.uninit(second);
    Require(unloads() == 2, "the parent unloads its OpenSSL");
  });
}

TEST_F(Ends, OfAChildThatExitsOrBecomesAnotherProgramLeaveTheParentAsItWas) {
  expectGoodEnd([this] {
    QvSslInitHandle* handle = initSurely();
    ForkAndWait([] { std::exit(0); });
    ForkAndWait([] { ::execl("/bin/true", "true", nullptr); });
    enterAndLeave(journal_.callbacks());
    installation_.uninit(handle);
    Require(unloads() == 2, "the parent's handle was the last");
  });
}

/// A thread that stands still in the middle of a call until it may go on.
class StoppedCall {
 public:
  StoppedCall(Journal& journal, const std::string& where, std::function<void()> call) {
    journal.onCall(where, [this] {
      if (std::this_thread::get_id() != thread_.get_id()) return;
      isThere_.set_value();
      mayGoOn_.get_future().wait();
    });
    std::promise<void> isStarted;
    thread_ = std::thread([&isStarted, call] {
      isStarted.get_future().wait();
      call();
    });
    isStarted.set_value();
    isThere_.get_future().wait();
  }
  StoppedCall(const StoppedCall&) = delete;
  StoppedCall& operator=(const StoppedCall&) = delete;
  ~StoppedCall() {
    mayGoOn_.set_value();
    thread_.join();
  }

 private:
  std::promise<void> isThere_;
  std::promise<void> mayGoOn_;
  std::thread thread_;
};

class EndsOfAChild : public Ends {
 protected:
  void expectToBeGivenNothing() {
    ForkAndWait([this] {
      Require(installation_.init() == nullptr, "Init gives null");
      // And no exit: what the thread that is not there held would be called leaks.
      ForkAndWait(
          [this] { Require(installation_.init() == nullptr, "Init gives null in its child too"); });
    });
  }
};

TEST_F(EndsOfAChild, ThatWasForkedWhileAThreadStartedTheServiceAreGood) {
  expectGoodEnd([this] {
    {
      const StoppedCall call(journal_, "SSL_library_init", [this] { initSurely(); });
      expectToBeGivenNothing();
    }
    ForkAndWait([this] { initSurely(); });
  });
}

TEST_F(EndsOfAChild, ThatWasForkedWhileAThreadStoppedOpensslAreGood) {
  expectGoodEnd([this] {
    QvSslInitHandle* handle = initSurely();
    {
      const StoppedCall call(journal_, "unload libssleay32.dylib",
                             [&] { installation_.uninit(handle); });
      ForkAndWait([&] {
        Require(installation_.init() == nullptr, "Init gives null");
        // Whose thread is not there to give it back.
        installation_.uninit(handle);
      });
    }
    ForkAndWait([this] { initSurely(); });
  });
}

// Handlers run in the order in which they were registered.
TEST_F(EndsOfAChild, WhoseHostRegistersAHandlerBeforeTheFirstInitAreGood) {
  expectGoodEnd([this] {
    static decltype(QVSSLINIT_Init)* init = nullptr;
    init = installation_.find<decltype(QVSSLINIT_Init)>("QVSSLINIT_Init");
    Require(::pthread_atfork(nullptr, nullptr,
                             [] {
                               ::alarm(kDeadlineSeconds);
                               Require(init() == nullptr, "Init gives null in the handler");
                             }) == 0,
            "the handler is registered");
    const StoppedCall call(journal_, "SSL_library_init", [this] { initSurely(); });
    ForkAndWait([] {});
  });
}

TEST_F(EndsOfAChild, ThatALibraryForksWhileItIsLoadedOrUnloadedAreGood) {
  for (const char* where :
       {"SSL_library_init", "RSA_generate_key", "X509_new", "unload libeay32.dylib"}) {
    expectGoodEnd([&] {
      const pid_t parent = ::getpid();
      static bool hasForked = false;  // the hook is there until the process ends
      journal_.onCall(where, [this, where] {
        if (std::exchange(hasForked, true)) return;
        const pid_t child = ::fork();
        Require(child != -1, "there is a child");
        if (child == 0) {
          ::alarm(kDeadlineSeconds);
          return;  // into the middle of the call
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        Require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "the child ended well");
        Require(!installation_.storeHas("server_certs/server_0.cer") || where[0] == 'u',
                "the child leaves the certificate to its parent");
      });
      QvSslInitHandle* handle = installation_.init();
      const bool isChild = ::getpid() != parent;
      Require((handle == nullptr) == isChild, "Init gives a handle in the parent alone");
      installation_.uninit(handle);
      if (::getpid() == parent) initSurely();
    });
  }
}

TEST_F(EndsOfAChild, ThatIsForkedWhileOpensslIsStartedAgainAreGood) {
  expectGoodEnd([this] {
    installation_.uninit(initSurely());
    const pid_t parent = ::getpid();
    journal_.onCall("SSL_library_init", [parent] {
      if (::getpid() != parent) return;
      if (::fork() == 0) {
        ::alarm(kDeadlineSeconds);
        return;  // into the middle of the call
      }
      int status = 0;
      ::wait(&status);
      Require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "the child ended well");
    });
    QvSslInitHandle* handle = installation_.init();
    Require((handle == nullptr) == (::getpid() != parent),
            "Init gives a handle in the parent alone");
  });
}

TEST_F(Ends, OfAThreadMayComeAfterItsOwnLastUninitAndTheClosingOfTheLibrary) {
  expectGoodEnd([this] {
    std::promise<void> isUsed;
    std::promise<void> mayEnd;
    std::thread thread([&] {
      installation_.uninit(initSurely());
      isUsed.set_value();
      mayEnd.get_future().wait();
    });
    isUsed.get_future().wait();
    installation_.closeLibrary();
    mayEnd.set_value();
    thread.join();
  });
}

/// A thread that is to end at the first call at which a thread can, and calls the library before
/// that.
struct CancelledThread {
  Installation& installation;
  QvSslInitHandle* second = nullptr;

  static void* Run(void* argument) {
    auto& self = *static_cast<CancelledThread*>(argument);
    pthread_cancel(pthread_self());
    self.installation.uninit(self.installation.init());
    self.second = self.installation.init();
    pthread_testcancel();
    return nullptr;
  }
};

TEST_F(Ends, OfAThreadThatIsCancelledWaitForItsCalls) {
  expectGoodEnd([this] {
    CancelledThread cancelled{installation_};
    pthread_t thread{};
    Require(pthread_create(&thread, nullptr, &CancelledThread::Run, &cancelled) == 0,
            "a thread starts");
    void* result = nullptr;
    pthread_join(thread, &result);
    Require(result == PTHREAD_CANCELED, "the thread is cancelled");
    Require(cancelled.second != nullptr, "its calls were finished first");
    Require(installation_.storeHas("server_certs/server_0.cer"), "there is a certificate");
    installation_.uninit(cancelled.second);
  });
}

TEST_F(Ends, OfTheHostsInterestLeaveOpensslAtWorkAndTheHandlesGood) {
  expectGoodEnd([this] {
    QvSslInitHandle* first = initSurely();
    QvSslInitHandle* second = nullptr;
    const Journal::Callbacks callbacks = journal_.callbacks();
    std::promise<void> isUsed;
    std::promise<void> isClosed;
    std::thread thread([&] {
      second = initSurely();
      isUsed.set_value();
      isClosed.get_future().wait();
      enterAndLeave(callbacks);
    });
    isUsed.get_future().wait();
    installation_.closeLibrary();
    isClosed.set_value();
    thread.join();
    Require(unloads() == 0, "there are handles out");

    // Opened once more it is the same library.
    installation_.uninit(first);
    Require(unloads() == 0, "there is a handle out");
    installation_.uninit(second);
    Require(unloads() == 2, "that was the last handle");
    initSurely();
    installation_.closeLibrary();
  });
}

/// Sends this process SIGUSR1 some time after it was set.
class SignalTimer {
 public:
  SignalTimer() {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGUSR1;
    Require(::timer_create(CLOCK_MONOTONIC, &event, &timer_) == 0, "there is a timer");
  }
  SignalTimer(const SignalTimer&) = delete;
  SignalTimer& operator=(const SignalTimer&) = delete;
  ~SignalTimer() { ::timer_delete(timer_); }

  /// Signal handlers may set it.
  void set(long microseconds) const {
    const itimerspec times{{0, 0}, {0, microseconds * 1000}};
    ::timer_settime(timer_, 0, &times, nullptr);
  }

 private:
  timer_t timer_{};
};

// The functions themselves: a signal handler must not wait for a lock of the test's.
decltype(QVSSLINIT_Init)* g_init = nullptr;
decltype(QVSSLINIT_Uninit)* g_uninit = nullptr;
std::atomic<bool> g_isInCall{false};
std::atomic<int> g_refused{0};
const SignalTimer* g_timer = nullptr;

/// Calls Init, unless that would interrupt something else than a call of the library.
void InitOnceMore(int /*signal*/) {
  if (!g_isInCall) return;
  QvSslInitHandle* handle = g_init();
  if (handle == nullptr) {
    ++g_refused;
    if (g_timer != nullptr) g_timer->set(50);
  } else {
    // Came before the first step of the call, or after the last. One signal after another would
    // never let the call begin: the handler takes longer than they do.
    g_uninit(handle);
  }
}

class EndsOfACall : public Ends {
 protected:
  void handleSignals() {
    g_init = installation_.find<decltype(QVSSLINIT_Init)>("QVSSLINIT_Init");
    g_uninit = installation_.find<decltype(QVSSLINIT_Uninit)>("QVSSLINIT_Uninit");
    struct sigaction action {};
    action.sa_handler = InitOnceMore;  // and no SA_RESTART: system calls are interrupted
    Require(::sigaction(SIGUSR1, &action, nullptr) == 0, "the signal is handled");
  }
  static QvSslInitHandle* init() {
    g_isInCall = true;
    QvSslInitHandle* handle = g_init();
    g_isInCall = false;
    return handle;
  }
  static void uninit(QvSslInitHandle* handle) {
    g_isInCall = true;
    g_uninit(handle);
    g_isInCall = false;
  }
};

TEST_F(EndsOfACall, ThatASignalHandlerInterruptsWithAnInitAreGoodAndTheHandlerGetsNull) {
  expectGoodEnd([this] {
    handleSignals();
    int signals = 0;
    for (const char* where : {"SSL_library_init", "X509_sign", "unload libssleay32.dylib"}) {
      journal_.onCall(where, [&signals] {
        if (signals++ < 3) ::raise(SIGUSR1);
      });
    }
    QvSslInitHandle* handle = init();
    Require(handle != nullptr, "Init gives a handle");
    uninit(handle);
    Require(signals == 3 && g_refused == 3, "every Init of the handler gave null");
    Require(unloads() == 2, "there was one handle");
  });
}

// ThreadSanitizer holds signals back until it suits it, and says that a whole Init in a handler, as
// there may be before the first step of the call, is unsafe, which it is.
#ifndef QV_SIGNALS_ARE_HELD_BACK
// Wherever the call may be: in the middle of an allocation, of a lock, of a system call.
TEST_F(EndsOfACall, ThatIsInterruptedAllTheTimeAreGood) {
  expectGoodEnd([this] {
    handleSignals();
    static constexpr int kInterruptions = 200;
    const SignalTimer timer;
    g_timer = &timer;
    for (long delay = 1; g_refused < kInterruptions; delay = delay % 1000 + 7) {
      timer.set(delay);
      QvSslInitHandle* handle = init();
      Require(handle != nullptr, "Init gives a handle");
      uninit(handle);
    }
    g_timer = nullptr;
    Require(installation_.storeHas("server_certs/server_0.key"), "the key was written");
    Require(installation_.storeHas("server_certs/server_0.cer"), "the certificate was written");
    Require(journal_.linesOf("unload libeay32").size() == journal_.linesOf("load libeay32").size(),
            "no handle is left");
    Require(journal_.misuses().empty() && journal_.liveObjects().empty(), "OpenSSL was used well");
  });
}
#endif

}  // namespace
}  // namespace qv::tests
