#include "source/SslInitializerImplementation.h"

#include <pthread.h>

#include <cstdint>
#include <limits>
#include <new>

#include "kit/StringBase.h"
#include "kit/osdep/CancellationDeferral.h"
#include "kit/osdep/GetModuleDirectory.h"
#include "kit/osdep/path.h"
#include "source/CRYPTO_dynlock_value.h"
#include "source/DefaultCertCreator.h"
#include "source/OpensslCallbacks.h"
#include "source/OpensslLibrary.h"
#include "source/SeedPRNG.h"
#include "source/ServiceStatus.h"
#include "source/SingletonMutex.h"
#include "source/TraceTagIds.h"
#include "source/client/TraceTagEE.h"

namespace qvsslinit {

using qv::kit::StatusChain;
using qv::kit::WString;
using qv::kit::osdep::CancellationDeferral;
using qv::kit::osdep::CriticalSection;
using qv::traceengine::MyTraceLogger;
using qv::traceengine::TraceTagEE;

SslInitializerImplementation* g_pInitializerSingleton = nullptr;

namespace {

constexpr std::int32_t kNoHandle = -1;
constexpr int kLockFlag = 1;

// Any non-null address asks for the directory of this library instead of the executable's.
void* const kThisLibrary = reinterpret_cast<void*>(-1);

// Of what a locking callback of OpenSSL is asked for.
bool IsToLock(int mode) {
  return (mode & kLockFlag) != 0;
}

}  // namespace

void SslInitializerImplementation::CreateSingleton(StatusChain& status) {
  const CriticalSection::Guard guard(g_SingletonMutex);
  if (g_pInitializerSingleton != nullptr) return;
  const CancellationDeferral deferral;
  try {
    g_pInitializerSingleton = new SslInitializerImplementation(status);
  } catch (...) {
    FailWithCurrentException(status, "SslInitializerImplementation::CreateSingleton");
    return;
  }
  if (!Failed(status)) g_pInitializerSingleton->initialize(status);
  if (!Failed(status)) g_pInitializerSingleton->createDefaultSelfSignedCertificateIfNeeded();
}

SslInitializerImplementation::SslInitializerImplementation(StatusChain& status) {
  if (!Failed(status)) createTraceLogger(status);
}

SslInitializerImplementation::~SslInitializerImplementation() {
  TraceTagEE scope(kTraceInitializerScopes,
                   "SslInitializerImplementation::~SslInitializerImplementation");
  // The test and the message contradict each other and both are as they have always been: the
  // message is what monitoring looks for.
  if (refCount_ > 0) {
    destroyObjects();
    delete g_pGLogger;
    g_pGLogger = nullptr;
  } else {
    XTraceError(g_pGLogger, "SslInitializerImplementation::~SslInitializerImplementation",
                "DTOR called while refCount_ > 0");
  }
}

void SslInitializerImplementation::createTraceLogger(StatusChain& status) {
  try {
    g_pGLogger = new MyTraceLogger("qvsslinit");
  } catch (...) {
    status.set(kFailed);
  }
}

std::int32_t SslInitializerImplementation::LoadLibrary(StatusChain& status) {
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::LoadLibrary");
  if (Failed(status)) return kNoHandle;
  const CriticalSection::Guard guard(lock_);
  if (!initialized_) initialize(status);
  const std::int32_t handle = initialized_ ? issueHandle(status) : kNoHandle;
  traceResult("SslInitializerImplementation::LoadLibrary", status, handle);
  return handle;
}

std::int32_t SslInitializerImplementation::issueHandle(StatusChain& status) {
  // The last number is never issued, so that the next one can always be told.
  if (nextHandle_ == std::numeric_limits<std::int32_t>::max()) {
    XTraceError(g_pGLogger, "SslInitializerImplementation::LoadLibrary",
                "All handle numbers have been issued");
    status.set(kFailed);
    return kNoHandle;
  }
  try {
    handles_.add(nextHandle_);
  } catch (...) {
    FailWithCurrentException(status, "SslInitializerImplementation::LoadLibrary");
    return kNoHandle;
  }
  ++refCount_;
  return nextHandle_++;
}

void SslInitializerImplementation::ReleaseLibrary(std::int32_t handle, StatusChain& status) {
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::ReleaseLibrary");
  if (Failed(status)) return;
  const CriticalSection::Guard guard(lock_);
  releaseHandle(handle, status);
  traceResult("SslInitializerImplementation::ReleaseLibrary", status, handle);
}

void SslInitializerImplementation::releaseHandle(std::int32_t handle, StatusChain& status) {
  static constexpr const char* kFunctionName = "SslInitializerImplementation::ReleaseLibrary";
  if (!initialized_) {
    XTraceError(g_pGLogger, kFunctionName, "SSL not initialized");
    status.set(kFailed);
    return;
  }
  if (!handles_.remove(handle)) {
    XTraceError(g_pGLogger, kFunctionName, "Release called with invalid handle '%d'", handle);
    status.set(kFailed);
    return;
  }
  if (--refCount_ == 0) {
    destroyObjects();
    XTraceLog(g_pGLogger, kTraceReferenceCount, kFunctionName,
              "refCount_ became zero, so unloading SSL libraries");
  }
}

void SslInitializerImplementation::traceResult(const char* functionName, const StatusChain& status,
                                               std::int32_t handle) const {
  // A function of variable arguments is never inlined.
  if (!XTraceTagIsEnabled(g_pGLogger, kTraceReferenceCount)) return;
  XTraceLog(g_pGLogger, kTraceReferenceCount, functionName,
            "returning status=%s, handle=%d, refCount_=%d", Failed(status) ? "error" : "ok", handle,
            refCount_);
}

void SslInitializerImplementation::initialize(StatusChain& status) {
  static constexpr const char* kFunctionName = "SslInitializerImplementation::initialize";
  TraceTagEE scope(kTraceInitializerScopes, kFunctionName);
  if (Failed(status)) return;
  const CriticalSection::Guard guard(lock_);
  if (initialized_) return;
  const CancellationDeferral deferral;
  try {
    openLibraries();
  } catch (...) {
    FailWithCurrentException(status, kFunctionName);
    return;
  }
  if (!cryptoLibrary_->isLoaded() || !sslLibrary_->isLoaded()) {
    status.set(kFailed);
    return;
  }
  initializeOpenSSL(status);
  if (!Failed(status)) initialized_ = true;
}

void SslInitializerImplementation::openLibraries() {
  namespace path = qv::kit::osdep::path;
  // What a failed attempt left open goes first: opened once more while still open, a library that
  // has been replaced on disk would be the old one again.
  cryptoLibrary_.reset();
  sslLibrary_.reset();

  const WString directory = qv::kit::osdep::GetModuleDirectory(kThisLibrary);
  const bool isInSight = IsOpensslInSight();
  cryptoLibrary_ = OpenOpensslLibrary(path::Join(directory, L"libeay32.dylib"), isInSight);
  sslLibrary_ = OpenOpensslLibrary(path::Join(directory, L"libssleay32.dylib"), isInSight);
}

void SslInitializerImplementation::initializeOpenSSL(StatusChain& status) {
  static constexpr const char* kFunctionName = "SslInitializerImplementation::initializeOpenSSL";
  TraceTagEE scope(kTraceInitializerScopes, kFunctionName);
  if (Failed(status)) return;
  try {
    loadFunctionPointers(status);
    startOpenSSL();
  } catch (...) {
    FailWithCurrentException(status, kFunctionName);
  }
}

void SslInitializerImplementation::loadFunctionPointers(StatusChain& status) {
  static constexpr const char* kFunctionName = "SslInitializerImplementation::loadFunctionPointers";
  TraceTagEE scope(kTraceInitializerScopes, kFunctionName);
  if (Failed(status)) return;
  resolvedRows_ = 0;
  objects_ = OpensslObjects(*cryptoLibrary_);
#define QV_OPENSSL_FUNCTION(library, name, result, arguments)                                    \
  functions_.name =                                                                              \
      reinterpret_cast<result(*) arguments>(library##Library_->getFunctionPointer(#name, true)); \
  if (functions_.name == nullptr) {                                                              \
    XTraceError(g_pGLogger, kFunctionName,                                                       \
                "Failed to load a function pointer.  One of the DLLs may be missing.");          \
    status.set(kFailed);                                                                         \
    return;                                                                                      \
  }                                                                                              \
  ++resolvedRows_;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
}

// Runs even when a function is missing, with the rows that were found: a row that was not found may
// hold the address of a library that has been closed since.
void SslInitializerImplementation::startOpenSSL() {
  if (isResolved(OpensslRow::SSL_library_init)) functions_.SSL_library_init();
  if (isResolved(OpensslRow::SSL_load_error_strings)) functions_.SSL_load_error_strings();
  if (isResolved(OpensslRow::CRYPTO_num_locks)) {
    // The locks exist before OpenSSL learns of them.
    numLocks_ = functions_.CRYPTO_num_locks();
    if (numLocks_ >= 1) locks_.create(numLocks_);
  }
  if (isResolved(OpensslRow::CRYPTO_set_locking_callback)) {
    functions_.CRYPTO_set_locking_callback(&lock);
  }
  if (isResolved(OpensslRow::CRYPTO_set_id_callback)) functions_.CRYPTO_set_id_callback(&threadId);
  if (isResolved(OpensslRow::CRYPTO_set_dynlock_create_callback)) {
    functions_.CRYPTO_set_dynlock_create_callback(&dynlockCreate);
  }
  if (isResolved(OpensslRow::CRYPTO_set_dynlock_lock_callback)) {
    functions_.CRYPTO_set_dynlock_lock_callback(&dynlock);
  }
  if (isResolved(OpensslRow::CRYPTO_set_dynlock_destroy_callback)) {
    functions_.CRYPTO_set_dynlock_destroy_callback(&dynlockDestroy);
  }
  if (isResolved(OpensslRow::OPENSSL_add_all_algorithms_noconf)) {
    functions_.OPENSSL_add_all_algorithms_noconf();
  }
}

bool SslInitializerImplementation::isResolved(OpensslRow row) const {
  return static_cast<std::int32_t>(row) < resolvedRows_;
}

void SslInitializerImplementation::destroyObjects() {
  const CancellationDeferral deferral;
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::destroyObjects");
  cryptoLibrary_.reset();
  sslLibrary_.reset();
  initialized_ = false;
  // Only now: OpenSSL may lock while it is being unloaded.
  locks_.destroy();
}

void SslInitializerImplementation::createDefaultSelfSignedCertificateIfNeeded() {
  TraceTagEE scope(kTraceInitializerScopes,
                   "SslInitializerImplementation::createDefaultSelfSignedCertificateIfNeeded");
  // A server can run on a certificate of its own: that the default one is missing fails nobody.
  StatusChain local;
  local.clear();
  DefaultCertCreator::createDefaultSelfSignedCertificateIfNeeded(functions_, objects_, local);
}

void SslInitializerImplementation::seedPRNG() {
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::seedPRNG");
  SeedPRNG(functions_);
}

void SslInitializerImplementation::xlock(int mode, int n, const char* /*file*/, int /*line*/) {
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::xlock");
  if (IsToLock(mode)) {
    locks_.enter(n);
  } else {
    locks_.leave(n);
  }
}

CRYPTO_dynlock_value* SslInitializerImplementation::xdynlockCreate(const char* /*file*/,
                                                                   int /*line*/) {
  static constexpr const char* kFunctionName = "SslInitializerImplementation::xdynlockCreate";
  TraceTagEE scope(kTraceInitializerScopes, kFunctionName);
  try {
    return new CRYPTO_dynlock_value;
  } catch (...) {
    // OpenSSL takes null for out of memory; an exception could not cross its frames.
    XTraceError(g_pGLogger, kFunctionName, "Could not create a lock");
    return nullptr;
  }
}

void SslInitializerImplementation::xdynlock(int mode, CRYPTO_dynlock_value* l, const char* /*file*/,
                                            int /*line*/) {
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::xdynlock");
  if (l == nullptr) return;
  if (IsToLock(mode)) {
    l->criticalSection.enter();
  } else {
    l->criticalSection.leave();
  }
}

void SslInitializerImplementation::xdynlockDestroy(CRYPTO_dynlock_value* l, const char* /*file*/,
                                                   int /*line*/) {
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::xdynlockDestroy");
  delete l;
}

unsigned long SslInitializerImplementation::xid() {
  TraceTagEE scope(kTraceInitializerScopes, "SslInitializerImplementation::xid");
  // A number on some systems and a pointer on others.
  return static_cast<unsigned long>(std::uintptr_t(pthread_self()));
}

}  // namespace qvsslinit
