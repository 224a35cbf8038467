#include <sys/stat.h>

#include <cerrno>
#include <cstdint>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/AccessDenied.h"
#include "kit/exception/ObjectAlreadyExists.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep::path {
namespace {

void CreateOneDir(const WString& path) {
  const String name = ToSystemPath(path);
  constexpr mode_t kOwnerOnly = S_IRWXU;
  if (RepeatWhileInterrupted([&] { return ::mkdir(name.c_str(), kOwnerOnly); }) == 0) return;
  if (errno != EEXIST) QV_THROW(exception::AccessDenied(path));
  // Someone else may have created the same directory in this moment; that is as good.
  if (!IsDirectory(path)) QV_THROW(exception::ObjectAlreadyExists());
}

}  // namespace

void CreateDir(const WString& path) {
  RequireAbsolute(path);
  const std::uint32_t last = path.rfind(L'/');
  // The first "/" stands for the root, which exists. The last directory keeps its trailing "/".
  for (std::uint32_t slash = path.find(L'/', 1); slash <= last;
       slash = path.find(L'/', slash + 1)) {
    const WString directory = path.substr(0, slash == last ? slash + 1 : slash);
    if (!IsDirectory(directory)) CreateOneDir(directory);
  }
}

void CreateDir(const wchar_t* path) {
  CreateDir(WString(path));
}

}  // namespace qv::kit::osdep::path
