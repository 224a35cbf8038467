#pragma once

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>

#include "include/qvsslinit.h"
#include "tests/doubles/RecordingTraceLogger.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/TraceRecords.h"
#include "tests/doubles/openssl/HideSymbol.h"
#include "tests/doubles/openssl/Journal.h"

namespace qv::tests {

/// The crypto doubles, named as their directories: see their CMakeLists.txt.
constexpr const char* kWithAccessors = "accessors";
constexpr const char* kWithSharedRsa = "shared_rsa";
constexpr const char* kLayoutAlone = "layout";
constexpr const char* kResident = "resident";
constexpr const char* kOpen = "open";

/// The library under test, installed as on a real machine: in a fresh directory with an OpenSSL
/// double beside it, and with an empty data directory. One to a process.
///
/// The library is loaded by the first use.
class Installation {
 public:
  Installation() : Installation(kWithAccessors) {}
  explicit Installation(const char* crypto) {
    prepare();
    install(crypto);
  }
  /// With other files than those of the doubles.
  Installation(const std::string& cryptoFile, const std::string& sslFile) {
    prepare();
    std::filesystem::copy_file(cryptoFile, directory_.path(kCryptoFile));
    std::filesystem::copy_file(sslFile, directory_.path(kSslFile));
  }

  Installation(const Installation&) = delete;
  Installation& operator=(const Installation&) = delete;
  ~Installation() {
    while (!handles_.empty())
      uninit(*handles_.begin());
  }

  // Names relative to directory().
  static constexpr const char* kCryptoFile = "lib/libeay32.dylib";
  static constexpr const char* kSslFile = "lib/libssleay32.dylib";

  const TemporaryDirectory& directory() const { return directory_; }
  std::string dataDirectory() const { return directory_.path("data"); }

  // What lies in the store, by name: "server_certs/server_0.key".
  std::string inStore(const std::string& name) const {
    return directory_.path("data/certstore/" + name);
  }
  bool storeHas(const std::string& name) const { return directory_.has("data/certstore/" + name); }
  std::string readStore(const std::string& name) const {
    return directory_.read("data/certstore/" + name);
  }

  /// Puts the doubles beside the library, new files each time.
  void install(const char* crypto) {
    removeOpenssl();
    copyDouble(std::string(crypto) + "/libeay32.dylib", kCryptoFile);
    copyDouble("ssl/libssleay32.dylib", kSslFile);
  }
  void removeOpenssl() {
    std::filesystem::remove(directory_.path(kCryptoFile));
    std::filesystem::remove(directory_.path(kSslFile));
  }
  /// Makes the double of file lack a function.
  void hide(const char* file, const std::string& function) {
    HideSymbol(directory_.path(file), function);
  }

  /// A function of the library.
  template <typename Function>
  Function* find(const char* name) {
    if (library_ == nullptr) {
      library_ = ::dlopen(directory_.path("lib/libqvsslinit.so").c_str(), RTLD_NOW);
    }
    void* found = library_ == nullptr ? nullptr : ::dlsym(library_, name);
    if (found == nullptr) throw std::runtime_error(::dlerror());
    return reinterpret_cast<Function*>(found);
  }

  /// Handles that are still out in the end are given back then.
  QvSslInitHandle* init() {
    QvSslInitHandle* handle = find<decltype(QVSSLINIT_Init)>("QVSSLINIT_Init")();
    const std::lock_guard<std::mutex> guard(mutex_);
    if (handle != nullptr) handles_.insert(handle);
    return handle;
  }
  void uninit(QvSslInitHandle* handle) {
    {
      const std::lock_guard<std::mutex> guard(mutex_);
      handles_.erase(handle);
    }
    find<decltype(QVSSLINIT_Uninit)>("QVSSLINIT_Uninit")(handle);
  }

  /// What a host does that has had enough of it.
  void closeLibrary() {
    ::dlclose(library_);
    library_ = nullptr;
  }

  /// Sends the traces of the library to a sink.
  TraceRecords::SetSink traceSink() {
    return find<decltype(QVTEST_SetTraceSink)>("QVTEST_SetTraceSink");
  }

  /// Whether the library finds it impossible to make its trace logger.
  void refuseTraceLogger(bool refuse) {
    find<decltype(QVTEST_RefuseTraceLoggers)>("QVTEST_RefuseTraceLoggers")(refuse ? 1 : 0);
  }

 private:
  void prepare() {
    directory_.makeDirectory("lib");
    directory_.makeDirectory("data");
    std::filesystem::copy_file(QV_LIBRARY_UNDER_TEST, directory_.path("lib/libqvsslinit.so"));
    ::setenv("QVPUBAPPDATADIR", dataDirectory().c_str(), 1);
  }
  void copyDouble(const std::string& from, const char* to) {
    std::filesystem::copy_file(QV_OPENSSL_DOUBLES "/" + from, directory_.path(to));
  }

  TemporaryDirectory directory_;
  void* library_ = nullptr;
  std::mutex mutex_;
  std::set<QvSslInitHandle*> handles_;
};

}  // namespace qv::tests
