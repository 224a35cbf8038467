// The dynamic loader of ELF systems looks a name up in the whole process, in the order in which
// libraries came to it, unless it is told to look in the library's own surroundings first.
#include "kit/osdep/platform/OwnScope.h"

#include <dlfcn.h>

namespace qv::kit::osdep::platform {
namespace {

#ifdef RTLD_DEEPBIND
constexpr int kOwnScopeFirst = RTLD_DEEPBIND;
#else
constexpr int kOwnScopeFirst = 0;
#endif

// The run-time libraries of the sanitizers end a process that asks for it.
bool IsSanitized() {
  return ::dlsym(RTLD_DEFAULT, "__sanitizer_print_stack_trace") != nullptr;
}

}  // namespace

void* OpenInOwnScope(const char* path) {
  if (IsSanitized()) return nullptr;
  return ::dlopen(path, RTLD_NOW | RTLD_LOCAL | kOwnScopeFirst);
}

}  // namespace qv::kit::osdep::platform
