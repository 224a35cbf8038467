#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// The directory of the module, library or program, that this code has been linked into: absolute
/// and ending in a slash. With a null address, the directory of the running executable instead; any
/// other address is not looked at. Throws PosixError, with the dynamic loader's text and code 0,
/// when the loader does not know this code.
///
/// The loader keeps a library's path as it was given. One loaded by a relative path is looked for
/// from the directory that is current when this function runs: programs that ever change theirs
/// should load libraries by an absolute path.
WString GetModuleDirectory(void* address);

}  // namespace qv::kit::osdep
