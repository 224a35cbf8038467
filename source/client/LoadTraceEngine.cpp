#include "source/client/LoadTraceEngine.h"

namespace qv::traceengine {

void LoadTraceEngine(kit::LibraryInterface<ITraceEngine>& engine, kit::StatusChain& status) {
  LoadTraceEngineImpl<ITraceEngine>(L"qv_traceengine", 0, engine, status);
}

}  // namespace qv::traceengine
