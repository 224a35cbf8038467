#include <unistd.h>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/SystemText.h"
#include "kit/osdep/TrustedVariable.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep::path {

WString AbsPath(const WString& path) {
  if (IsAbs(path)) return path;
  return path == L"." ? GetCWD() : Join(GetCWD(), path);
}

WString GetCWD() {
  // The C library allocates as much as the name takes.
  const SystemText directory(::getcwd(nullptr, 0));
  if (directory == nullptr) QV_THROW(PosixError());
  return WString(directory.get());
}

void SetCWD(const WString& path) {
  const String directory = ToSystemPath(path);
  if (RepeatWhileInterrupted([&] { return ::chdir(directory.c_str()); }) == -1) {
    QV_THROW(PosixError());
  }
}

WString TempDirName() {
  const char* directory = TrustedVariable("TMPDIR");
  return directory == nullptr ? WString(L"/var/tmp/") : WString(directory);
}

}  // namespace qv::kit::osdep::path
