#include "tools/doctor/SystemOpenssl.h"

#include <dlfcn.h>

namespace qv::tools::doctor {
namespace {

#define QV_TEXT(text) #text
#define QV_TEXT_OF(macro) QV_TEXT(macro)
// Brings libcrypto with it, whose functions are found in it too.
constexpr char kSslName[] = "libssl.so." QV_TEXT_OF(OPENSSL_SHLIB_VERSION);
#undef QV_TEXT_OF
#undef QV_TEXT

/// Knows no pass phrase: nobody is asked for one.
int NoPassPhrase(char* /*buffer*/, int /*size*/, int /*isWriting*/, void* /*argument*/) {
  return -1;
}

template <typename Function>
bool Find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(::dlsym(library, name));
  return function != nullptr;
}

}  // namespace

const SystemOpenssl* SystemOpenssl::get() {
  static SystemOpenssl openssl;
  static const bool isOpen = openssl.open();
  return isOpen ? &openssl : nullptr;
}

bool SystemOpenssl::open() {
  void* const library = ::dlopen(kSslName, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return false;
  bool isWhole = true;
#define QV_POLICY_FUNCTION(name) isWhole = Find(library, #name, this->name) && isWhole;
#include "tools/doctor/PolicyFunctions.def"
#undef QV_POLICY_FUNCTION
  return isWhole;
}

std::string SystemOpenssl::takeError() const {
  const char* text = ERR_reason_error_string(ERR_get_error());
  ERR_clear_error();
  return text == nullptr ? "no reason given" : text;
}

SystemOpenssl::Owner<X509> SystemOpenssl::readCertificate(const std::string& pem) const {
  ERR_clear_error();
  const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free);
  return {PEM_read_bio_X509(bio.get(), nullptr, NoPassPhrase, nullptr), X509_free};
}

SystemOpenssl::Owner<EVP_PKEY> SystemOpenssl::readKey(const std::string& pem) const {
  ERR_clear_error();
  const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free);
  return {PEM_read_bio_PrivateKey(bio.get(), nullptr, NoPassPhrase, nullptr), EVP_PKEY_free};
}

}  // namespace qv::tools::doctor
