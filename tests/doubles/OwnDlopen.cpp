// A host that all calls of dlopen go to, and that lets them through.
#include <dlfcn.h>

extern "C" __attribute__((visibility("default"))) void* dlopen(const char* path, int flags) {
  return reinterpret_cast<void* (*)(const char*, int)>(::dlsym(RTLD_NEXT, "dlopen"))(path, flags);
}
