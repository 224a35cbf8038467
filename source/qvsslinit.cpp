#include "include/qvsslinit.h"

#include <memory>

#include "source/CallUnderWay.h"
#include "source/ServiceStatus.h"
#include "source/SingletonMutex.h"
#include "source/SslInitializer.h"

using qvsslinit::CallUnderWay;
using qvsslinit::g_SingletonMutex;
using qvsslinit::SslInitializer;

QvSslInitHandle* QVSSLINIT_Init() {
  // A library that is being loaded for a call would begin it all over again, without end. A signal
  // handler may have interrupted the call anywhere: it may wait for no lock, and allocate nothing.
  if (CallUnderWay::wasCutOff() || CallUnderWay::isInThisThread()) return nullptr;
  const CallUnderWay call;
  if (!g_SingletonMutex.isThere()) return nullptr;
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
  if (handle == nullptr) return;
  if (CallUnderWay::wasCutOff()) return;
  const CallUnderWay call;
  // At the end of the process there is nothing left to give back to.
  if (!g_SingletonMutex.isThere()) return;
  delete reinterpret_cast<SslInitializer*>(handle);
}
