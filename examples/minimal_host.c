/* The least that a host does: load the library, make OpenSSL ready, give it back. */
#include <dlfcn.h>
#include <locale.h>
#include <stdio.h>

#include "qvsslinit.h"

int main(int argc, char** argv) {
  struct QvSslInitHandle* (*init)(void);
  void (*uninit)(struct QvSslInitHandle*);
  struct QvSslInitHandle* handle;
  void* library;
  setlocale(LC_ALL, ""); /* names of directories are read in the encoding of the locale */
  library = dlopen(argc > 1 ? argv[1] : "libqvsslinit.so.1", RTLD_NOW);
  if (library == NULL) {
    fprintf(stderr, "minimal_host: %s\n", dlerror());
    return 1;
  }
  /* C has no conversion from an object pointer to a function pointer; dlsym relies on this one. */
  *(void**)&init = dlsym(library, "QVSSLINIT_Init");
  *(void**)&uninit = dlsym(library, "QVSSLINIT_Uninit");
  if (init == NULL || uninit == NULL) {
    fprintf(stderr, "minimal_host: %s\n", dlerror());
    return 1;
  }
  handle = init();
  if (handle == NULL) {
    fprintf(stderr, "minimal_host: OpenSSL is not ready; qvsslinit-doctor tells why\n");
    return 1;
  }
  printf("OpenSSL is ready, handle %p\n", (void*)handle);
  uninit(handle);
  return 0;
}
