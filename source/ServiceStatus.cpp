#include "source/ServiceStatus.h"

#include <exception>

#include "kit/StatusFromException.h"
#include "source/client/ModuleLogger.h"
#include "source/client/MyTraceLogger.h"

namespace qvsslinit {

void FailWithCurrentException(qv::kit::StatusChain& status, const char* functionName) noexcept {
  qv::kit::SetStatusFromCurrentException(status);
  try {
    // Callers are handlers, so there is one.
    // cppcheck-suppress rethrowNoCurrentException
    throw;
  } catch (const std::exception& exception) {
    XTraceError(g_pGLogger, functionName, "Exception: '%s'", exception.what());
  } catch (...) {
    XTraceError(g_pGLogger, functionName, "Exception of an unknown kind");
  }
}

}  // namespace qvsslinit
