#pragma once

#include <string>

namespace qv::tools::cert {

// The store is worked on from within: what a name means does not change while somebody moves the
// directories above.

/// Makes the directory, with all that is below, the current one. Throws Failure.
void EnterDirectory(const std::string& path);

/// The same for a directory in the current one, which must not be a symbolic link: where that leads
/// is for whoever made it to say.
void EnterOwnDirectory(const std::string& name);

/// Gives up what root may do for what the owner of the current directory may, where this process is
/// root's and the directory is not: whoever owns a directory says what the names in it mean, and
/// has no say over the files of others. What is made from then on is the owner's. Throws Failure.
void ActAsOwner();

/// Makes a directory in the current one, mode 0700, unless there is something of that name. Throws
/// Failure.
void MakeOwnDirectory(const std::string& name);

/// Whether what is written to the file, or a directory, is on the disk. File systems that
/// cannot be waited for are taken as they are. errno is set otherwise.
bool Flush(int descriptor);
bool FlushDirectory(const std::string& name = ".");

}  // namespace qv::tools::cert
