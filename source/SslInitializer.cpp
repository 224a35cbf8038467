#include "source/SslInitializer.h"

#include "source/CallUnderWay.h"
#include "source/ServiceStatus.h"
#include "source/SingletonMutex.h"
#include "source/SslInitializerImplementation.h"

namespace qvsslinit {

using qv::kit::osdep::CriticalSection;

SingletonMutex g_SingletonMutex;

namespace {

// When the library is loaded, for a thread may fork in the middle of another's first call.
[[maybe_unused]] const bool g_forksWatched = CallUnderWay::watchForks();
[[maybe_unused]] const bool g_mutexMade = g_SingletonMutex.isThere();

}  // namespace

SslInitializer::SslInitializer() {
  status_.clear();
  SslInitializerImplementation::CreateSingleton(status_);
  // A library that is loaded for the singleton may fork. To its child no lock comes back.
  if (g_pInitializerSingleton != nullptr && !Failed(status_) && !CallUnderWay::wasCutOff()) {
    handle_ = g_pInitializerSingleton->LoadLibrary(status_);
  } else {
    status_.set(kFailed);
  }
  // OpenSSL's start may fork too, and so may a signal handler.
  if (CallUnderWay::wasCutOff()) status_.set(kFailed);
}

SslInitializer::~SslInitializer() {
  if (Failed(status_)) return;
  const CriticalSection::Guard guard(g_SingletonMutex);
  if (g_pInitializerSingleton != nullptr) {
    g_pInitializerSingleton->ReleaseLibrary(handle_, status_);
  }
}

}  // namespace qvsslinit
