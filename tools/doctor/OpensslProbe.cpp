#include <dlfcn.h>

#include <string>

#include "kit/StringBase.h"
#include "kit/osdep/SharedLibrary.h"
#include "kit/osdep/path.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/OpensslFiles.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {
namespace {

using kit::WString;
using kit::osdep::SharedLibrary;

SharedLibrary Open(const WString& directory, const char* file) {
  Report({{"opening", file}});
  ::dlerror();
  SharedLibrary library(kit::osdep::path::Join(directory, WString(file)), true, true);
  const char* error = library.isLoaded() ? nullptr : ::dlerror();
  if (error != nullptr) Report({{"file", file}, {"error", error}});
  if (library.isLoaded()) Report({{"file", file}, {"opened", true}});
  return library;
}

/// The file that address lies in; null for none.
Fact FileOf(const void* address) {
  Dl_info module{};
  if (address == nullptr || ::dladdr(address, &module) == 0) return nullptr;
  return module.dli_fname;
}

/// Looks functions up, and knows whether that would do better if the two files changed places.
class LookUp {
 public:
  LookUp(const SharedLibrary& crypto, const SharedLibrary& ssl) : crypto_(crypto), ssl_(ssl) {}

  void report(const SharedLibrary& library, const char* file, const char* name) {
    const SharedLibrary& other = &library == &crypto_ ? ssl_ : crypto_;
    const void* const found = library.getFunctionPointer(name, true);
    isComplete_ = isComplete_ && found != nullptr;
    isCompleteExchanged_ = isCompleteExchanged_ && other.getFunctionPointer(name, true) != nullptr;
    Report({{"function", name}, {"looked_up_in", file}, {"found_in", FileOf(found)}});
  }

  void finish() const { Report({{"exchanged", !isComplete_ && isCompleteExchanged_}}); }

 private:
  const SharedLibrary& crypto_;
  const SharedLibrary& ssl_;
  bool isComplete_ = true;
  bool isCompleteExchanged_ = true;
};

/// Which OpenSSL file leads to, and the words in which that tells its release: by its present name
/// or by that of the 1.0 series.
void ReportRelease(const SharedLibrary& library, const char* file) {
  for (const char* name : {"OpenSSL_version", "SSLeay_version"}) {
    void* function = library.getFunctionPointer(name, true);
    if (function == nullptr) continue;
    const auto version = reinterpret_cast<const char* (*)(int)>(function);
    const char* text = version(0);
    Report({{"release_of", file},
            {"text", text == nullptr ? "of an unknown release" : text},
            {"libcrypto", FileOf(function)}});
    return;
  }
}

}  // namespace

void ProbeOpenssl(const std::string& directory) {
  const WString wideDirectory(directory.c_str());
  // Both are opened before anything is looked up, as the library does it.
  const SharedLibrary crypto = Open(wideDirectory, kCryptoFile);
  const SharedLibrary ssl = Open(wideDirectory, kSslFile);
  Report({{"opening", nullptr}});

  static constexpr const char* kcryptoFile = kCryptoFile;
  static constexpr const char* ksslFile = kSslFile;
  LookUp lookUp(crypto, ssl);
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  lookUp.report(library, k##library##File, #name);
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  lookUp.finish();

  Report({{"libssl", FileOf(ssl.getFunctionPointer("SSL_CTX_new", true))}});
  ReportRelease(crypto, kCryptoFile);
  ReportRelease(ssl, kSslFile);
}

}  // namespace qv::tools::doctor
