// The dynamic loader of ELF systems looks a name up in the whole process, in the order in which
// libraries came to it, unless it is told to look in the library's own surroundings first.
#include "kit/osdep/platform/OwnScope.h"

#include <dlfcn.h>

namespace qv::kit::osdep::platform {

#ifdef RTLD_DEEPBIND

namespace {

/// The file that a function comes from which everybody in the process gets by this name.
const void* FileOf(const char* name) {
  Dl_info info;
  return ::dladdr(::dlsym(RTLD_DEFAULT, name), &info) != 0 ? info.dli_fbase : nullptr;
}

}  // namespace

bool HasOwnScopes() {
  // In its own scope a library calls the C library directly. Where the process has another malloc,
  // what the C library got from that one would be freed by the wrong function. The run-time
  // libraries of the sanitizers, which stand before dlopen, end the process instead.
  return FileOf("malloc") == FileOf("gnu_get_libc_version") &&
         FileOf("dlopen") == FileOf("dlerror");
}

void* OpenInOwnScope(const char* path) {
  return ::dlopen(path, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
}

#else

bool HasOwnScopes() {
  return false;
}

void* OpenInOwnScope(const char* /*path*/) {
  return nullptr;
}

#endif

}  // namespace qv::kit::osdep::platform
