/// Names of the files around the one that is written.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// All functions give a string for the caller to free, or null when there is no memory.

/// The directory of path, as the system takes it: up to and including its last "/", or "." where
/// there is none.
char* qvini_DirectoryOf(const char* path);

/// "ini$$.TMPXXXXXX" in the directory of path.
char* qvini_UniqueNameTemplate(const char* path);

/// path with its extension replaced by TMP. Where it has none, or TMP, ".TMP" is added.
char* qvini_NameWithExtensionTmp(const char* path);

/// The file that path leads to when it is a symbolic link; it may be missing. Where the links lead
/// in circles, one of them.
char* qvini_FollowLinks(const char* path);

#ifdef __cplusplus
}
#endif
