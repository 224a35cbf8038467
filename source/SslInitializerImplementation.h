#pragma once

#include <cstdint>
#include <memory>

#include "kit/StatusChain.h"
#include "kit/osdep/CriticalSection.h"
#include "kit/osdep/SharedLibrary.h"
#include "source/HandleNumbers.h"
#include "source/LockArray.h"
#include "source/OpensslFunctionPointers.h"
#include "source/OpensslObjects.h"

namespace qvsslinit {

/// The one object of a process that owns the OpenSSL libraries, the table of their functions and
/// the locks handed to them. Issues handle numbers, starts OpenSSL for the first and unloads it
/// with the last.
///
/// Any thread may call; one recursive lock guards all members. Operations that take a status do
/// nothing when it holds a failure already, and none of them throws.
class SslInitializerImplementation {
 public:
  /// Makes the singleton if there is none, starts OpenSSL and sees to the default certificate. Does
  /// nothing when the singleton exists, even if its start failed: LoadLibrary tries that again.
  static void CreateSingleton(qv::kit::StatusChain& status);

  /// Creates the trace logger of the module as well.
  explicit SslInitializerImplementation(qv::kit::StatusChain& status);
  SslInitializerImplementation(const SslInitializerImplementation&) = delete;
  SslInitializerImplementation& operator=(const SslInitializerImplementation&) = delete;

  /// The library itself never destroys the singleton.
  ~SslInitializerImplementation();

  /// Starts OpenSSL if it is not running and issues a handle number, -1 on failure. Numbers count
  /// up from 1 and are never issued twice; a failure leaves nothing counted.
  std::int32_t LoadLibrary(qv::kit::StatusChain& status);

  /// Takes a handle number back and unloads OpenSSL with the last. Call under g_SingletonMutex.
  void ReleaseLibrary(std::int32_t handle, qv::kit::StatusChain& status);

  /// Loads the libraries that lie beside this one and starts OpenSSL, if that is still to be done.
  void initialize(qv::kit::StatusChain& status);

  // OpenSSL's callbacks end here. Bit 0 of mode asks to lock, else to unlock; reading and writing
  // are not told apart.
  void xlock(int mode, int n, const char* file, int line);
  CRYPTO_dynlock_value* xdynlockCreate(const char* file, int line);
  void xdynlock(int mode, CRYPTO_dynlock_value* l, const char* file, int line);
  void xdynlockDestroy(CRYPTO_dynlock_value* l, const char* file, int line);
  unsigned long xid();

 private:
  friend struct SslInitializerImplementationProbe;  // lets tests reach states that take 2^31 calls

  void createDefaultSelfSignedCertificateIfNeeded();
  void createTraceLogger(qv::kit::StatusChain& status);
  void openLibraries();
  void initializeOpenSSL(qv::kit::StatusChain& status);
  void loadFunctionPointers(qv::kit::StatusChain& status);
  void startOpenSSL();
  bool isResolved(OpensslRow row) const;
  void seedPRNG();
  std::int32_t issueHandle(qv::kit::StatusChain& status);
  void releaseHandle(std::int32_t handle, qv::kit::StatusChain& status);
  void traceResult(const char* functionName, const qv::kit::StatusChain& status,
                   std::int32_t handle) const;
  void destroyObjects();

  bool initialized_ = false;
  std::int32_t refCount_ = 0;
  std::int32_t nextHandle_ = 1;
  qv::kit::osdep::CriticalSection lock_;
  std::unique_ptr<qv::kit::osdep::SharedLibrary> cryptoLibrary_;
  std::unique_ptr<qv::kit::osdep::SharedLibrary> sslLibrary_;
  HandleNumbers handles_;
  OpensslFunctionPointers functions_{};
  std::int32_t resolvedRows_ = 0;  // rows of functions_ that the libraries now open have filled
  OpensslObjects objects_;
  std::int32_t numLocks_ = 1;
  LockArray locks_;
};

/// Made by the first Init and kept as long as the process lives. Written under g_SingletonMutex.
extern SslInitializerImplementation* g_pInitializerSingleton;

}  // namespace qvsslinit
