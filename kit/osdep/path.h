#pragma once

#include "kit/StringBase.h"

/// POSIX path names, held as wide strings, and what can be done to the files they name.
///
/// The separator is "/"; a path is absolute when it begins with one. Names are compared ignoring
/// case. Operations that demand an absolute path throw InvalidArgument for any other, and no path
/// with a null character inside ever reaches the operating system: it is refused with
/// InvalidArgument. Where a comment says "throws PosixError", the error carries the system's errno.
///
/// Paths go to the system in the encoding of the locale. A character that it cannot express becomes
/// "?", and the path may then name another file than was meant: programs that deal in such names
/// must run in a locale that has them.
///
/// Any thread may call, but the current directory belongs to the whole process.
namespace qv::kit::osdep::path {

// Names alone; nothing here looks at the file system.

/// The directory part: "a/b" gives "a", "/a" gives "/", "a" gives "". A path that ends in "/" names
/// its own directory and only loses its trailing slashes; one made of nothing but slashes stays.
WString DirName(const WString& path);

/// What follows the last "/": the whole path when there is none, nothing when it ends in one.
WString BaseName(const WString& path);

/// @{
/// b as seen from directory a: b itself when it is absolute or a is empty, else a, a "/" where a
/// does not end in one, and b.
WString Join(const WString& a, const WString& b);
String Join(const String& a, const String& b);
/// @}

/// Appends "/" unless path already ends in one. Throws InvalidArgument when path is empty.
void MakePathEndInSlash(WString& path);

/// Whether text begins with "/". Null does not.
bool IsPathAbsolute(const wchar_t* text);

/// Whether path begins with "/".
bool IsAbs(const WString& path);

/// path without its "." and ".." components: "/a/./b" gives "/a/b", "/a/b/.." gives "/a". A
/// trailing "/" stays, and a path without any "." comes back as it is, runs of "/" included. Empty
/// when path is relative, climbs above the root or has a component "...".
WString NormalizePath(const WString& path);

// The process and its surroundings.

/// path as seen from the current directory; "." is that directory itself. An absolute path stays as
/// it is. Throws PosixError when the current directory has no name.
WString AbsPath(const WString& path);

/// The current directory. Throws PosixError when it has no name.
WString GetCWD();

/// Makes path, relative or absolute, the current directory of the process. Throws PosixError.
void SetCWD(const WString& path);

/// The value of the environment variable "TMPDIR", or "/var/tmp/" when it is not set or may not be
/// trusted (see TrustedVariable.h).
WString TempDirName();

/// A name, in use by no file when it is chosen, that begins with prefix and lies in directory (the
/// temporary directory when empty). The C library's tempnam makes it: a usable "TMPDIR" wins over
/// directory, and nothing keeps another process from taking the name first.
/// Throws InvalidArgument when prefix is empty or holds a "/" or when directory is relative,
/// NonexistentException when directory is none, PosixError when no name can be had.
WString TempFileName(const WString& prefix, const WString& directory);

// Questions about files.

/// Whether names that differ in case alone are different files: no, whatever the file system says.
constexpr bool IsFileSystemCaseSensitive() {
  return false;
}

/// Whether path leads, through symbolic links too, to a directory. A relative path never does.
bool IsDirectory(const WString& path);

/// Whether path itself is a symbolic link, wherever it leads.
bool IsSymLink(const WString& path);

/// Whether the absolute path leads to a regular file. Throws PosixError when the system cannot tell
/// for any reason other than that nothing has this name.
bool DoesFileExist(const WString& path);

// Changes to files.

/// @{
/// Creates, with permissions 0700, every missing directory up to the last "/" of the absolute path.
/// What follows that "/" is taken for a file name and not created; a directory's own path must end
/// in "/". Throws InvalidArgument when path is relative or null, ObjectAlreadyExists when something
/// other than a directory is in the way, AccessDenied, which names the directory, for any other
/// failure. Directories created before the failure stay.
void CreateDir(const WString& path);
void CreateDir(const wchar_t* path);
/// @}

/// Removes the file or symbolic link with the absolute path. Throws PosixError.
void RemoveFile(const WString& path);

/// Removes an empty directory, or a symbolic link that leads to a directory. Throws
/// NonexistentException when path is no directory, AccessDenied when it cannot be removed,
/// PosixError when the link cannot.
void RemoveDir(const WString& path);

/// Removes the directory with the absolute path and everything below it whose name does not begin
/// with ".". Symbolic links are removed, never followed. Throws InvalidArgument when path is
/// relative, NonexistentException when it is no directory, AccessDenied when a directory cannot be
/// removed, such as one that still holds an entry, PosixError when a file cannot.
void RemoveDirForce(const WString& path);

/// Gives the file from the name to; both paths are absolute. Does nothing when the names are equal.
/// A file that has to move to another file system is copied, made durable and only then removed:
/// whatever fails, from or to holds it whole. Its permissions become 0600 unless to is there
/// already, and a symbolic link moves as the contents of the file that it leads to; one that leads
/// to to itself is merely removed. Throws PosixError, and what CpFile throws.
void RenameFile(const WString& from, const WString& to);

/// Copies the contents of the file from to the file to, which gets permissions 0600 when it is new;
/// both paths are absolute. Throws FileAlreadyExists when to is a file and overwrite is false, even
/// one that comes into being meanwhile; does nothing otherwise when both name the same file, be it
/// by names that differ in case alone or through links. Throws PosixError when a file cannot be
/// opened or looked at, FileReadFailed, FileWriteFailed. A copy that fails leaves no new file
/// behind, not even at the end of a symbolic link, and to untouched when from cannot be read at
/// all.
void CpFile(const WString& from, const WString& to, bool overwrite);

/// Copies what the directory from holds to the directory to, except for names that begin with ".";
/// both paths are absolute. Files in the way are overwritten. A missing to must end in "/" to be
/// created. Symbolic links are followed. Throws NonexistentException when from is no directory,
/// PosixError (ELOOP) when a link leads back to a directory being copied, and what CreateDir and
/// CpFile throw; what was copied until then stays.
void CpDir(const WString& from, const WString& to);

/// Creates the symbolic link link, which leads to target. Throws PosixError.
void CreateSymLink(const WString& target, const WString& link);

/// The text that the symbolic link path holds. Throws PosixError, EINVAL when path is none.
WString ResolveSymLink(const WString& path);

}  // namespace qv::kit::osdep::path
