#pragma once

#include "source/OpensslFunctionPointers.h"

// The functions of the list as a double defines them: a definition of another type does not
// compile.

// OpenSSL's names for OpenSSL's types, in a library that stands for it.
using namespace qvsslinit;  // NOLINT(google-build-using-namespace)

#define QV_DOUBLE_EXPORT __attribute__((visibility("default")))

extern "C" {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  QV_DOUBLE_EXPORT result name arguments;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
}
