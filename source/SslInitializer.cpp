#include "source/SslInitializer.h"

#include "source/ServiceStatus.h"
#include "source/SingletonMutex.h"
#include "source/SslInitializerImplementation.h"

namespace qvsslinit {

using qv::kit::osdep::CriticalSection;

SingletonMutex g_SingletonMutex;

namespace {

[[maybe_unused]] const bool g_mutexMade = g_SingletonMutex.isThere();

}  // namespace

SslInitializer::SslInitializer() {
  status_.clear();
  SslInitializerImplementation::CreateSingleton(status_);
  if (g_pInitializerSingleton != nullptr && !Failed(status_)) {
    handle_ = g_pInitializerSingleton->LoadLibrary(status_);
  } else {
    status_.set(kFailed);
  }
}

SslInitializer::~SslInitializer() {
  if (Failed(status_)) return;
  const CriticalSection::Guard guard(g_SingletonMutex);
  if (g_pInitializerSingleton != nullptr) {
    g_pInitializerSingleton->ReleaseLibrary(handle_, status_);
  }
}

}  // namespace qvsslinit
