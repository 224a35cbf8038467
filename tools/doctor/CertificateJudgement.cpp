#include "tools/doctor/CertificateJudgement.h"

#include <ctime>

#include "tools/common/Printable.h"
#include "tools/doctor/SystemOpenssl.h"

namespace qv::tools::doctor {
namespace {

// Who the certificates that Init makes are from.
constexpr char kDefaultCertificate[] = "/O=Kestrix Works/OU=Pellora Web Server/CN=";
// Instead of what OpenSSL cannot tell.
constexpr char kUnknown[] = "unknown";
constexpr std::time_t kSoon = 30L * 24 * 60 * 60;

// Times of day in this form compare as text.
std::string UtcText(const std::tm& time) {
  char text[64] = {};
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &time);
  return text;
}

std::string UtcText(std::time_t time) {
  std::tm parts{};
  ::gmtime_r(&time, &parts);
  return UtcText(parts);
}

/// A look at one certificate.
class Certificate {
 public:
  Certificate(const SystemOpenssl& openssl, X509* certificate)
      : openssl_(openssl), certificate_(certificate) {}

  std::string subject() const {
    char text[1024] = {};
    openssl_.X509_NAME_oneline(openssl_.X509_get_subject_name(certificate_), text, sizeof text);
    return text;
  }
  std::string notBefore() const { return text(openssl_.X509_get0_notBefore(certificate_)); }
  std::string notAfter() const { return text(openssl_.X509_get0_notAfter(certificate_)); }
  std::string signature() const {
    const int algorithm = openssl_.X509_get_signature_nid(certificate_);
    return algorithm == NID_undef ? kUnknown : openssl_.OBJ_nid2sn(algorithm);
  }
  EVP_PKEY* key() const { return openssl_.X509_get0_pubkey(certificate_); }

  /// Why a server could not use it; empty when it could.
  std::string refusal(SSL_CTX* server) const {
    openssl_.ERR_clear_error();
    if (openssl_.SSL_CTX_use_certificate(server, certificate_) == 1) return {};
    return openssl_.takeError();
  }

 private:
  std::string text(const ASN1_TIME* time) const {
    std::tm parts{};
    return openssl_.ASN1_TIME_to_tm(time, &parts) == 1 ? UtcText(parts) : std::string(kUnknown);
  }

  const SystemOpenssl& openssl_;
  X509* certificate_;
};

void JudgeValidity(const Certificate& certificate, const std::string& name, Section& section) {
  static constexpr char kReplace[] =
      "Put a certificate that is valid now, and its key, in place; for server_0, qvsslinit-cert "
      "--replace does it.";
  const std::time_t now = std::time(nullptr);
  if (certificate.notBefore() == kUnknown || certificate.notAfter() == kUnknown) {
    section.wrong(name + " does not tell in a readable way from when to when it is valid",
                  kReplace);
  } else if (certificate.notBefore() > UtcText(now)) {
    section.wrong(name + " is not valid before " + certificate.notBefore(),
                  "Check the clock of this machine, or wait, or put another certificate in place.");
  } else if (certificate.notAfter() < UtcText(now)) {
    section.wrong(name + " expired on " + certificate.notAfter(), kReplace);
  } else if (certificate.notAfter() < UtcText(now + kSoon)) {
    section.note(name + " expires on " + certificate.notAfter(), kReplace);
  }
}

/// The default certificate is made weak, to the letter of an old contract, so that is no fault of
/// the installation; with any other certificate it is.
void JudgePolicy(const SystemOpenssl& openssl, const Certificate& certificate,
                 const std::string& name, Section& section, Fact& facts) {
  openssl.ERR_clear_error();
  // With OpenSSL's default settings.
  const SystemOpenssl::Owner<SSL_CTX> server(openssl.SSL_CTX_new(openssl.TLS_server_method()),
                                             openssl.SSL_CTX_free);
  if (server == nullptr) {
    facts["accepted"] = false;
    section.wrong("The system's OpenSSL cannot make a TLS server, with this or any certificate: " +
                      openssl.takeError(),
                  "See its configuration: openssl.cnf, or the file that OPENSSL_CONF names.");
    return;
  }
  const int level = openssl.SSL_CTX_get_security_level(server.get());
  const std::string refusal = certificate.refusal(server.get());
  facts["security_level"] = level;
  facts["accepted"] = refusal.empty();
  if (!refusal.empty()) facts["refusal"] = refusal;
  const std::string policy =
      "by the system's OpenSSL policy (security level " + std::to_string(level) + ")";
  if (refusal.empty()) {
    section.ok(name + " is accepted " + policy);
    return;
  }
  const std::string text = name + " is refused " + policy + ": " + refusal;
  if (certificate.subject().find(kDefaultCertificate) != std::string::npos) {
    section.note(text,
                 "It is the certificate that Init makes so that a server can start; servers "
                 "and clients have to lower their security level to use it. Replace it: "
                 "qvsslinit-cert --replace.");
  } else {
    section.wrong(text, "Get a certificate with a longer key and a SHA-2 signature.");
  }
}

}  // namespace

bool JudgeCertificate(const SystemOpenssl& openssl, const std::string& pem, const std::string& name,
                      Section& section, Fact& facts, std::string& reason) {
  const auto owner = openssl.readCertificate(pem);
  if (owner == nullptr) {
    reason = openssl.takeError();
    return false;
  }
  const Certificate certificate(openssl, owner.get());
  EVP_PKEY* const key = certificate.key();
  const std::string keyType = key == nullptr ? kUnknown : openssl.EVP_PKEY_get0_type_name(key);
  const int bits = key == nullptr ? 0 : openssl.EVP_PKEY_get_bits(key);
  facts["subject"] = certificate.subject();
  facts["not_before"] = certificate.notBefore();
  facts["not_after"] = certificate.notAfter();
  facts["key_type"] = keyType;
  facts["key_bits"] = bits;
  facts["signature"] = certificate.signature();
  section.ok(name + " is for " + Quoted(certificate.subject()) + ", " + keyType + " of " +
             std::to_string(bits) + " bits, signed with " + certificate.signature() + ", valid " +
             certificate.notBefore() + " to " + certificate.notAfter());
  JudgeValidity(certificate, name, section);
  JudgePolicy(openssl, certificate, name, section, facts);
  return true;
}

}  // namespace qv::tools::doctor
