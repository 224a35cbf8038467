#include "kit/LoadSharedLibrary.h"

#include "kit/StatusFromException.h"

namespace qv::kit {

GetInterfaceFuncNoThrow::GetInterfaceFuncNoThrow(unsigned long version, StatusChain& status,
                                                 const wchar_t* entryPointName) noexcept
    : version_(version), status_(status), entryPointName_(entryPointName) {
  status_.reset();
}

SmartPtr<IRefCounted> GetInterfaceFuncNoThrow::operator()(osdep::SharedLibrary& library) {
  using GetInterface = IRefCounted*(unsigned long version, StatusChain& status);
  auto* const getInterface =
      reinterpret_cast<GetInterface*>(library.getFunctionPointer(entryPointName_, true));
  if (getInterface == nullptr) {
    status_.set(kNoEntryPoint);
    return SmartPtr<IRefCounted>();
  }
  try {
    const SmartPtr<IRefCounted> object(getInterface(version_, status_));
    return status_.code() < 0 ? SmartPtr<IRefCounted>() : object;
  } catch (...) {
    // Ends here, while the code that threw is still in memory: its exception goes with it.
    SetStatusFromCurrentException(status_);
    return SmartPtr<IRefCounted>();
  }
}

}  // namespace qv::kit
