#include <dlfcn.h>

#include "kit/StringBase.h"
#include "kit/osdep/DirectoryOf.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {
namespace {

/// The directory that the library looks for its neighbours in, by its own way of telling.
void ReportDirectory(const void* address) {
  Dl_info module{};
  if (::dladdr(address, &module) == 0) return;
  Report({{"directory", kit::String(kit::osdep::DirectoryOf(module.dli_fname)).c_str()}});
}

}  // namespace

void ProbeLibrary(const std::string& library) {
  void* handle = ::dlopen(library.c_str(), RTLD_NOW);
  if (handle == nullptr) {
    Report({{"error", ::dlerror()}});
    return;
  }
  const void* init = ::dlsym(handle, "QVSSLINIT_Init");
  Report({{"QVSSLINIT_Init", init != nullptr}});
  Report({{"QVSSLINIT_Uninit", ::dlsym(handle, "QVSSLINIT_Uninit") != nullptr}});
  if (init != nullptr) ReportDirectory(init);
  Report({{"loaded", true}});
}

}  // namespace qv::tools::doctor
