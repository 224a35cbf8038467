#pragma once

#include "kit/LibraryInterface.h"
#include "kit/LoadSharedLibrary.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "kit/osdep/path.h"
#include "source/client/ITraceEngine.h"

namespace qv::traceengine {

/// Loads the library called name and gets the given version of its interface. A bare name is looked
/// for where the system keeps its frameworks first, then wherever SharedLibrary looks; an absolute
/// one there alone.
///
/// status is not negative on success. Otherwise it holds the code of the last try: that of the
/// entry point or of an exception that it let escape (-1 for one without),
/// GetInterfaceFuncNoThrow::kNoEntryPoint, or StatusChain::kNotSet when there was no library.
/// engine is only set on success, and stays as it is even then when the library gave no object, or
/// one of another kind. Throws what SharedLibrary throws.
template <typename EngineT>
void LoadTraceEngineImpl(const kit::WString& name, unsigned long version,
                         kit::LibraryInterface<EngineT>& engine, kit::StatusChain& status) {
  namespace path = kit::osdep::path;
  kit::GetInterfaceFuncNoThrow getInterface(version, status, L"GetInterface");
  if (!path::IsPathAbsolute(name.c_str())) {
    kit::LoadSharedLibrary(path::Join(L"/Library/Frameworks/", name), getInterface, engine);
    if (status.code() >= 0) return;
    status.reset();
  }
  kit::LoadSharedLibrary(name, getInterface, engine);
}

/// Loads the trace engine of this system, the library "qv_traceengine", as LoadTraceEngineImpl
/// does.
void LoadTraceEngine(kit::LibraryInterface<ITraceEngine>& engine, kit::StatusChain& status);

}  // namespace qv::traceengine
