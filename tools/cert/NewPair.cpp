#include "tools/cert/NewPair.h"

#include <openssl/bn.h>
#include <openssl/rand.h>

#include <array>

#include "tools/cert/Failure.h"

namespace qv::tools::cert {
namespace {

constexpr long kVersion3 = 2;  // X.509 counts versions from 0
constexpr std::size_t kMostInCommonName = 64;
constexpr long kBackdating = -3600;
// An issuer must have a name, be there a common name or not.
constexpr char kOrganization[] = "Self-signed by qvsslinit-cert";

Key MakeKey(KeyKind kind) {
  Key key;
  if (kind == KeyKind::P256) {
    key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
  } else {
    const std::size_t bits = kind == KeyKind::Rsa2048 ? 2048 : 3072;
    key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", bits));
  }
  if (key == nullptr) throw OpensslFailure("No key can be made");
  return key;
}

/// The fields of a certificate that is being made. Each method gives false, with OpenSSL's reason,
/// when it fails.
class Draft {
 public:
  Draft(X509* certificate, EVP_PKEY* key) : certificate_(certificate), key_(key) {}

  /// 20 octets by chance, as many as there may be, of which the first says that the number is
  /// positive and the longest.
  bool setSerial() {
    std::array<unsigned char, 20> octets{};
    if (RAND_bytes(octets.data(), static_cast<int>(octets.size())) != 1) return false;
    octets[0] = static_cast<unsigned char>((octets[0] & 0x3FU) | 0x40U);
    const BigNumber number(BN_bin2bn(octets.data(), static_cast<int>(octets.size()), nullptr));
    const Integer serial(number == nullptr ? nullptr : BN_to_ASN1_INTEGER(number.get(), nullptr));
    return serial != nullptr && X509_set_serialNumber(certificate_, serial.get()) == 1;
  }

  bool setSubject(const std::string& commonName) {
    const X509Name name(X509_NAME_new());
    return name != nullptr && add(name.get(), "O", kOrganization) &&
           (commonName.size() > kMostInCommonName || add(name.get(), "CN", commonName)) &&
           X509_set_subject_name(certificate_, name.get()) == 1 &&
           X509_set_issuer_name(certificate_, name.get()) == 1;
  }

  bool setValidity(int days) {
    return X509_gmtime_adj(X509_getm_notBefore(certificate_), kBackdating) != nullptr &&
           X509_time_adj_ex(X509_getm_notAfter(certificate_), days, 0, nullptr) != nullptr;
  }

  bool setAlternativeNames(const SubjectNames& names) {
    const GeneralNames list(GENERAL_NAMES_new());
    if (list == nullptr) return false;
    for (const std::string& host : names.hosts) {
      if (!add(list.get(), GEN_DNS, host)) return false;
    }
    for (const std::string& address : names.addresses) {
      if (!add(list.get(), GEN_IPADD, address)) return false;
    }
    return X509_add1_ext_i2d(certificate_, NID_subject_alt_name, list.get(), 0, 0) == 1;
  }

  bool addExtension(int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate_, certificate_, nullptr, nullptr, 0);
    X509V3_set_ctx_nodb(&context);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
    return extension != nullptr && X509_add_ext(certificate_, extension.get(), -1) == 1;
  }

  /// What the key may do, and that it belongs to a server. Only an RSA key can be given a secret.
  bool setUsage() {
    const bool isRsa = EVP_PKEY_is_a(key_, "RSA") == 1;
    return addExtension(NID_basic_constraints, "critical,CA:FALSE") &&
           addExtension(NID_key_usage, isRsa ? "critical,digitalSignature,keyEncipherment"
                                             : "critical,digitalSignature") &&
           addExtension(NID_ext_key_usage, "serverAuth") &&
           addExtension(NID_subject_key_identifier, "hash") &&
           addExtension(NID_authority_key_identifier, "keyid:always");
  }

  bool finish() {
    return X509_set_version(certificate_, kVersion3) == 1 &&
           X509_sign(certificate_, key_, EVP_sha256()) != 0;
  }

 private:
  static bool add(X509_NAME* name, const char* field, const std::string& value) {
    return X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                                      reinterpret_cast<const unsigned char*>(value.c_str()), -1, -1,
                                      0) == 1;
  }

  static bool add(GENERAL_NAMES* list, int kind, const std::string& text) {
    GeneralName name(a2i_GENERAL_NAME(nullptr, nullptr, nullptr, kind, text.c_str(), 0));
    if (name == nullptr || sk_GENERAL_NAME_push(list, name.get()) == 0) return false;
    static_cast<void>(name.release());  // the list owns it now
    return true;
  }

  X509* certificate_;
  EVP_PKEY* key_;
};

}  // namespace

Pair MakePair(KeyKind kind, const SubjectNames& names, int days) {
  Pair pair;
  pair.key = MakeKey(kind);
  Certificate certificate(X509_new());
  if (certificate == nullptr) throw OpensslFailure("No certificate can be made");
  Draft draft(certificate.get(), pair.key.get());
  const std::string& first = names.hosts.empty() ? names.addresses.front() : names.hosts.front();
  if (!draft.setSerial() || !draft.setSubject(first) || !draft.setValidity(days) ||
      X509_set_pubkey(certificate.get(), pair.key.get()) != 1 || !draft.setUsage() ||
      !draft.setAlternativeNames(names) || !draft.finish()) {
    throw OpensslFailure("The certificate cannot be made");
  }
  pair.chain.push_back(std::move(certificate));
  return pair;
}

}  // namespace qv::tools::cert
