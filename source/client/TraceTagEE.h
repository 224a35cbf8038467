#pragma once

#include "source/client/ModuleLogger.h"
#include "source/client/MyTraceLogger.h"

namespace qv::traceengine {

/// Traces the entry to and the exit from a scope, as "In" and "Out" under a tag:
///     TraceTagEE scope(kInitializerScopes, "SslInitializerImplementation::initialize");
///
/// The logger is asked at either end anew. A null functionName traces nothing; the text is not
/// copied and must outlive the scope.
class TraceTagEE {
 public:
  TraceTagEE(int tagId, const char* functionName) noexcept
      : functionName_(functionName), tagId_(tagId) {
    if (isEnabled()) qvsslinit::g_pGLogger->XTraceLog(tagId_, functionName_, "In");
  }
  ~TraceTagEE() {
    if (isEnabled()) qvsslinit::g_pGLogger->XTraceLog(tagId_, functionName_, "Out");
  }
  TraceTagEE(const TraceTagEE&) = delete;
  TraceTagEE& operator=(const TraceTagEE&) = delete;

 private:
  bool isEnabled() const noexcept {
    return functionName_ != nullptr && XTraceTagIsEnabled(qvsslinit::g_pGLogger, tagId_);
  }

  const char* functionName_;
  int tagId_;
};

}  // namespace qv::traceengine
