#include <dlfcn.h>

#include <stdexcept>

#include "include/qvsslinit.h"
#include "tools/doctor/BuiltInEngine.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {
namespace {

template <typename Function>
Function* Find(void* library, const char* name) {
  void* found = ::dlsym(library, name);
  if (found == nullptr) throw std::runtime_error(::dlerror());
  return reinterpret_cast<Function*>(found);
}

void Phase(const char* name) {
  Report({{"phase", name}});
}

}  // namespace

void RunTrial(const std::string& library, const std::string& directory) {
  InstallBuiltInEngine(directory);
  Phase("loading the library");
  void* handle = ::dlopen(library.c_str(), RTLD_NOW);
  if (handle == nullptr) throw std::runtime_error(::dlerror());
  auto* const init = Find<decltype(QVSSLINIT_Init)>(handle, "QVSSLINIT_Init");
  auto* const uninit = Find<decltype(QVSSLINIT_Uninit)>(handle, "QVSSLINIT_Uninit");

  Phase("Init");
  QvSslInitHandle* const claim = init();
  Report({{"init", claim != nullptr}});
  Phase("Uninit");
  uninit(claim);
  Report({{"uninit", true}});
  Phase("its end");
}

}  // namespace qv::tools::doctor
