#include "include/qvsslinit.h"

#include <memory>

#include "source/ServiceStatus.h"
#include "source/SslInitializer.h"

using qvsslinit::SslInitializer;

QvSslInitHandle* QVSSLINIT_Init() {
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
  delete reinterpret_cast<SslInitializer*>(handle);
}
