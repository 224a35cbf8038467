#pragma once

#include <memory>

#include "kit/StringBase.h"
#include "kit/osdep/SharedLibrary.h"

namespace qvsslinit {

/// Whether the process has functions of OpenSSL's names already that every library sees: those of
/// an OpenSSL that the host is linked with, or carries inside itself, or has loaded for everybody,
/// or that has stayed in memory since an earlier start.
bool IsOpensslInSight();

/// Opens one of the OpenSSL libraries; whether that worked, isLoaded() tells.
///
/// isInSight says that the process had such functions before the first of the libraries was opened.
/// The library and those that it depends on then get their own ones all the same, unless they are
/// in memory already: calls between two copies of OpenSSL corrupt both.
std::unique_ptr<qv::kit::osdep::SharedLibrary> OpenOpensslLibrary(const qv::kit::WString& path,
                                                                  bool isInSight);

}  // namespace qvsslinit
