#pragma once

#include "kit/IRefCounted.h"
#include "kit/InterfaceCast.h"
#include "kit/LibraryInterface.h"
#include "kit/SmartPtr.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "kit/osdep/OutputReleaseAssertion.h"
#include "kit/osdep/SharedLibrary.h"

namespace qv::kit {

/// Asks a library for its interface object through the function that it exports for the purpose:
///
///     extern "C" IRefCounted* GetInterface(unsigned long version, StatusChain& status);
///
/// The pointer that the function returns carries no reference for the caller. It reports failure by
/// a negative status; one that leaves the status untouched has failed too.
class GetInterfaceFuncNoThrow {
 public:
  /// The code of a library that does not export the function.
  static constexpr auto kNoEntryPoint = static_cast<std::int32_t>(0x8ABC7021U);

  /// Resets status. Refers to it and to entryPointName, which must outlive this object.
  GetInterfaceFuncNoThrow(unsigned long version, StatusChain& status,
                          const wchar_t* entryPointName) noexcept;

  /// The object that library gives, or null. The status tells: kNoEntryPoint without the function,
  /// otherwise what the function left there; the code of an exception that it let escape, or -1.
  SmartPtr<IRefCounted> operator()(osdep::SharedLibrary& library);

 private:
  unsigned long version_;
  StatusChain& status_;
  const wchar_t* entryPointName_;
};

/// Loads the library called path (see SharedLibrary) and sets result to it and to the interface I
/// that getInterface gets from it. result stays as it is when there is no such library or
/// getInterface returns null, and when the object is no I, which is the library's mistake and
/// raises a release assertion. Throws what SharedLibrary throws.
template <typename I, typename GetInterface>
void LoadSharedLibrary(const WString& path, GetInterface& getInterface,
                       LibraryInterface<I>& result) {
  osdep::SharedLibrary library(path, true, false);
  // Nothing is asked of a library that is not there: the status tells the two apart.
  if (!library.isLoaded()) return;
  const SmartPtr<IRefCounted> object = getInterface(library);
  if (!object) return;
  const SmartPtr<I> interface(InterfaceCast<I>(object.get()));
  if (!interface) {
    // Monitoring knows this place by file and line, wherever it moves.
    osdep::OutputReleaseAssertion("false",
                                  "if getInterfaceFunc() succeeds, the returned pointer should be "
                                  "castable to the desired interface",
                                  "kit/LoadSharedLibrary", 283);
    return;
  }
  result = LibraryInterface<I>(library, interface);
}

}  // namespace qv::kit
