#pragma once

#include "kit/osdep/SharedLibrary.h"
#include "source/OpensslFunctionPointers.h"
#include "source/OpensslObjects.h"

namespace qv::tests {

/// The OpenSSL double, loaded and resolved for a test that calls into the service's own classes.
class LoadedDouble {
 public:
  LoadedDouble()
      : crypto_(QV_OPENSSL_DOUBLES "/accessors/libeay32.dylib", true, true),
        ssl_(QV_OPENSSL_DOUBLES "/ssl/libssleay32.dylib", true, true),
        objects_(crypto_) {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  table_.name =                                               \
      reinterpret_cast<decltype(table_.name)>(library##_.getFunctionPointer(#name, false));
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  }

  qvsslinit::OpensslFunctionPointers& table() {
    return table_;
  }
  const qvsslinit::OpensslObjects& objects() const {
    return objects_;
  }

 private:
  qv::kit::osdep::SharedLibrary crypto_;
  qv::kit::osdep::SharedLibrary ssl_;
  qvsslinit::OpensslObjects objects_;
  qvsslinit::OpensslFunctionPointers table_{};
};

}  // namespace qv::tests
