#include "engine/TraceEngine.h"
#include "kit/IRefCounted.h"
#include "kit/StatusChain.h"

/// The entry point of the plug-in: the engine of this process, without a reference for the caller,
/// who adds one before anything else. Clears status. There is one version of the interface, 0; for
/// any other, and without memory, status is -1 and the result null. Any thread may call.
extern "C" [[gnu::visibility("default")]] qv::kit::IRefCounted* GetInterface(
    unsigned long version, qv::kit::StatusChain& status) {
  qv::traceengine::TraceEngine& engine = qv::traceengine::TraceEngine::Instance();
  if (version != 0 || !engine.start()) {
    status.set(-1);
    return nullptr;
  }
  status.clear();
  return &engine;
}
