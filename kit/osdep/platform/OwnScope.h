#pragma once

namespace qv::kit::osdep::platform {

/// Whether libraries can be opened in a scope of their own, in this process. Where they cannot, or
/// need not, the usual way is all there is.
bool HasOwnScopes();

/// Opens the library in path so that it, and what it brings along, find each other's functions
/// before those that the rest of the process has under the same names. What is in memory already
/// stays bound as it is.
///
/// Null when it cannot be opened. The caller closes the library with dlclose.
void* OpenInOwnScope(const char* path);

}  // namespace qv::kit::osdep::platform
