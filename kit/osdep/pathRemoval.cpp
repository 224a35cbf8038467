#include <unistd.h>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/AccessDenied.h"
#include "kit/exception/NonexistentException.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/FindFiles.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep::path {
namespace {

/// path without trailing slashes: with one, the system would follow a symbolic link of that name.
WString Unfollowed(const WString& path) {
  return path.empty() || path[path.length() - 1] != L'/' ? path : DirName(path);
}

}  // namespace

void RemoveFile(const WString& path) {
  RequireAbsolute(path);
  const String name = ToSystemPath(path);
  if (RepeatWhileInterrupted([&] { return ::unlink(name.c_str()); }) == -1) QV_THROW(PosixError());
}

void RemoveDir(const WString& path) {
  if (!IsDirectory(path)) QV_THROW(exception::NonexistentException());
  const WString entry = Unfollowed(path);
  if (IsSymLink(entry)) return RemoveFile(entry);
  const String name = ToSystemPath(path);
  if (RepeatWhileInterrupted([&] { return ::rmdir(name.c_str()); }) == -1) {
    QV_THROW(exception::AccessDenied(path));
  }
}

void RemoveDirForce(const WString& path) {
  RequireAbsolute(path);
  if (!IsDirectory(path)) QV_THROW(exception::NonexistentException());
  const WString directory = Unfollowed(path);
  if (IsSymLink(directory)) return RemoveFile(directory);

  const WString self = Join(path, L".");
  const WString parent = Join(path, L"..");
  for (const WString& entry : FindFiles::getEntries(path)) {
    if (entry == self || entry == parent) continue;
    if (IsDirectory(entry)) {
      RemoveDirForce(entry);
    } else {
      RemoveFile(entry);
    }
  }
  RemoveDir(path);
}

}  // namespace qv::kit::osdep::path
