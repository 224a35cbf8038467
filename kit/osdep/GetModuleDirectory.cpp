#include "kit/osdep/GetModuleDirectory.h"

#include <dlfcn.h>

#include "kit/AddFileAndLineInfo.h"
#include "kit/osdep/DirectoryOf.h"
#include "kit/osdep/GetExePath.h"
#include "kit/osdep/LoaderError.h"

namespace qv::kit::osdep {

WString GetModuleDirectory(void* address) {
  if (address == nullptr) return GetExeDirectory();
  Dl_info module{};
  if (::dladdr(reinterpret_cast<const void*>(&GetModuleDirectory), &module) == 0) {
    QV_THROW(LoaderError());
  }
  return DirectoryOf(module.dli_fname);
}

}  // namespace qv::kit::osdep
