#include "source/OpensslCallbacks.h"

#include <pthread.h>

#include <cstdint>

#include "source/SslInitializerImplementation.h"

namespace qvsslinit {

extern "C" {

void lock(int mode, int n, const char* file, int line) {
  g_pInitializerSingleton->xlock(mode, n, file, line);
}

unsigned long threadId() {
  // A number on some systems and a pointer on others.
  return static_cast<unsigned long>(std::uintptr_t(pthread_self()));
}

CRYPTO_dynlock_value* dynlockCreate(const char* file, int line) {
  return g_pInitializerSingleton->xdynlockCreate(file, line);
}

void dynlock(int mode, CRYPTO_dynlock_value* l, const char* file, int line) {
  g_pInitializerSingleton->xdynlock(mode, l, file, line);
}

void dynlockDestroy(CRYPTO_dynlock_value* l, const char* file, int line) {
  g_pInitializerSingleton->xdynlockDestroy(l, file, line);
}

}  // extern "C"

}  // namespace qvsslinit
