#include "source/client/ModuleLogger.h"

namespace qvsslinit {

qv::traceengine::MyTraceLogger* g_pGLogger = nullptr;

}  // namespace qvsslinit
