#include "source/OpensslLibrary.h"

#include <dlfcn.h>

#include "kit/osdep/platform/OwnScope.h"

namespace qvsslinit {

using qv::kit::String;
using qv::kit::WString;
using qv::kit::osdep::SharedLibrary;

namespace {

struct CloseLibrary {
  void operator()(void* library) const { ::dlclose(library); }
};
using OpenLibrary = std::unique_ptr<void, CloseLibrary>;

}  // namespace

bool IsOpensslInSight() {
  // A look-up without a handle would keep what it finds in memory as long as this library is there.
  const OpenLibrary everybodys(::dlopen(nullptr, RTLD_NOW));
  if (everybodys == nullptr) return false;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  if (::dlsym(everybodys.get(), #name) != nullptr) return true;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  return false;
}

std::unique_ptr<SharedLibrary> OpenOpensslLibrary(const WString& path, bool isInSight) {
  // What is open already stays bound as it was when it is opened once more.
  OpenLibrary bound;
  if (isInSight) bound.reset(qv::kit::osdep::platform::OpenInOwnScope(String(path).c_str()));
  return std::make_unique<SharedLibrary>(path, true, true);
}

}  // namespace qvsslinit
