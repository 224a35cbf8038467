#include "include/qvsslinit.h"

#include <memory>

#include "kit/osdep/CancellationDeferral.h"
#include "source/ServiceStatus.h"
#include "source/SingletonMutex.h"
#include "source/SslInitializer.h"

using qv::kit::osdep::CancellationDeferral;
using qvsslinit::g_SingletonMutex;
using qvsslinit::SslInitializer;

QvSslInitHandle* QVSSLINIT_Init() {
  if (!g_SingletonMutex.isThere()) return nullptr;
  const CancellationDeferral deferral;
  // A host may be C: no exception leaves.
  try {
    auto initializer = std::make_unique<SslInitializer>();
    if (qvsslinit::Failed(initializer->status())) return nullptr;
    return reinterpret_cast<QvSslInitHandle*>(initializer.release());
  } catch (...) {
    return nullptr;
  }
}

void QVSSLINIT_Uninit(QvSslInitHandle* handle) {
  // At the end of the process there is nothing left to give back to.
  if (!g_SingletonMutex.isThere()) return;
  const CancellationDeferral deferral;
  delete reinterpret_cast<SslInitializer*>(handle);
}
