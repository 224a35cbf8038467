#include "source/OpensslLibrary.h"

#include <dlfcn.h>

#include <algorithm>
#include <iterator>

#include "kit/osdep/platform/OwnScope.h"

namespace qvsslinit {

using qv::kit::String;
using qv::kit::WString;
using qv::kit::osdep::SharedLibrary;
using qv::kit::osdep::platform::HasOwnScopes;
using qv::kit::osdep::platform::OpenInOwnScope;

namespace {

struct CloseLibrary {
  void operator()(void* library) const { ::dlclose(library); }
};
using OpenLibrary = std::unique_ptr<void, CloseLibrary>;

/// Names that are in sight where another OpenSSL is, or a part of one: those of the table, and
/// those under which hosts bring along ciphers, digests and numbers of their own.
constexpr const char* kMarks[] = {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) #name,
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
    "AES_encrypt", "BN_new", "CRYPTO_malloc", "MD5_Init", "SHA1_Init", "SSL_CTX_new"};

}  // namespace

bool IsOpensslInSight() {
  // A look-up without a handle would keep what it finds in memory as long as this library is there.
  const OpenLibrary everybodys(::dlopen(nullptr, RTLD_NOW));
  if (everybodys == nullptr) return false;
  const auto isInSight = [&](const char* name) {
    return ::dlsym(everybodys.get(), name) != nullptr;
  };
  return std::any_of(std::begin(kMarks), std::end(kMarks), isInSight);
}

std::unique_ptr<SharedLibrary> OpenOpensslLibrary(const WString& path, bool isInSight) {
  OpenLibrary bound;
  if (isInSight && HasOwnScopes()) {
    bound.reset(OpenInOwnScope(String(path).c_str()));
    // The usual way might succeed now, with calls bound to the others for as long as it stays.
    if (bound == nullptr) return std::make_unique<SharedLibrary>();
  }
  // What is open already stays bound as it was when it is opened once more.
  return std::make_unique<SharedLibrary>(path, true, true);
}

}  // namespace qvsslinit
