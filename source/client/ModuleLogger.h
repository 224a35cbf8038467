#pragma once

namespace qv::traceengine {
class MyTraceLogger;
}

namespace qvsslinit {

/// The trace logger of this module; null until the first Init has made it, and where that failed.
/// Written under g_SingletonMutex only, before any thread can trace through it.
extern qv::traceengine::MyTraceLogger* g_pGLogger;

}  // namespace qvsslinit
