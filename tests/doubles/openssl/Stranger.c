/*
 * Another OpenSSL in the process, as far as names go: nobody but its host may call it. The names
 * are those of QV_STRANGER_LIST, a file in the form of source/OpensslFunctions.def.
 */
#include <stdio.h>
#include <stdlib.h>

static void end(const char* name) {
  fprintf(stderr, "the other OpenSSL's %s was called\n", name);
  abort();
}

#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  __attribute__((visibility("default"))) void name(void);     \
  void name(void) {                                           \
    end(#name);                                               \
  }
#include QV_STRANGER_LIST
#undef QV_OPENSSL_FUNCTION
