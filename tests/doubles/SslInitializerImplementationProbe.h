#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "source/SslInitializerImplementation.h"

namespace qvsslinit {

/// Reaches into the singleton, for what the two exports do not show.
struct SslInitializerImplementationProbe {
  static void setNextHandle(SslInitializerImplementation& singleton, std::int32_t handle) {
    singleton.nextHandle_ = handle;
  }
  static std::int32_t nextHandle(const SslInitializerImplementation& singleton) {
    return singleton.nextHandle_;
  }
  static std::int32_t refCount(const SslInitializerImplementation& singleton) {
    return singleton.refCount_;
  }
  static std::vector<std::int32_t> handles(const SslInitializerImplementation& singleton) {
    return singleton.handles_.all();
  }
  static const qv::kit::osdep::CriticalSection& lock(
      const SslInitializerImplementation& singleton) {
    return singleton.lock_;
  }
  static const OpensslFunctionPointers& functions(const SslInitializerImplementation& singleton) {
    return singleton.functions_;
  }

  static void setLibraries(SslInitializerImplementation& singleton, const std::string& crypto,
                           const std::string& ssl) {
    using qv::kit::WString;
    using qv::kit::osdep::SharedLibrary;
    singleton.cryptoLibrary_ = std::make_unique<SharedLibrary>(WString(crypto.c_str()), true, true);
    singleton.sslLibrary_ = std::make_unique<SharedLibrary>(WString(ssl.c_str()), true, true);
  }

  static void initializeOpenSSL(SslInitializerImplementation& singleton,
                                qv::kit::StatusChain& status) {
    singleton.initializeOpenSSL(status);
  }
  /// Finds the functions of the libraries beside this module, and starts nothing.
  static void resolve(SslInitializerImplementation& singleton, qv::kit::StatusChain& status) {
    singleton.openLibraries();
    singleton.loadFunctionPointers(status);
  }
  /// What the SSL library and those that it depends on have under a name, else the crypto library.
  static void* find(const SslInitializerImplementation& singleton, const char* name) {
    void* found = singleton.sslLibrary_->getFunctionPointer(name, true);
    return found != nullptr ? found : singleton.cryptoLibrary_->getFunctionPointer(name, true);
  }
  static void seedPRNG(SslInitializerImplementation& singleton) { singleton.seedPRNG(); }
};

}  // namespace qvsslinit
