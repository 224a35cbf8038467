#include "tools/cert/Pair.h"

#include <arpa/inet.h>
#include <openssl/pem.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "tools/cert/Failure.h"
#include "tools/common/Printable.h"

namespace qv::tools::cert {
namespace {

Bio MemoryBio() {
  Bio bio(BIO_new(BIO_s_mem()));
  if (bio == nullptr) throw OpensslFailure("No memory for PEM text");
  return bio;
}

std::string Text(const Bio& bio) {
  const char* text = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &text);
  return std::string(text, static_cast<std::size_t>(length));
}

std::string AddressText(const ASN1_OCTET_STRING* address) {
  const int family = ASN1_STRING_length(address) == 4 ? AF_INET : AF_INET6;
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (family == AF_INET6 && ASN1_STRING_length(address) != 16) return "(no address)";
  ::inet_ntop(family, ASN1_STRING_get0_data(address), text.data(), text.size());
  return text.data();
}

std::string NameText(const GENERAL_NAME* name) {
  int type = 0;
  const void* const value = GENERAL_NAME_get0_value(name, &type);
  if (type == GEN_IPADD) return AddressText(static_cast<const ASN1_OCTET_STRING*>(value));
  if (type != GEN_DNS) return "(another kind of name)";
  const auto* const text = static_cast<const ASN1_IA5STRING*>(value);
  return Printable(std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
                               static_cast<std::size_t>(ASN1_STRING_length(text))));
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words)
    text += (text.empty() ? "" : ", ") + word;
  return text.empty() ? "nobody" : text;
}

std::string Fingerprint(const X509* certificate) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int size = 0;
  if (X509_digest(certificate, EVP_sha256(), digest.data(), &size) != 1)
    throw OpensslFailure("The certificate has no fingerprint");
  std::string text;
  for (unsigned int i = 0; i < size; ++i) {
    char octet[4];
    std::snprintf(octet, sizeof octet, i == 0 ? "%02X" : ":%02X", digest[i]);
    text += octet;
  }
  return text;
}

}  // namespace

std::string KeyText(const Pair& pair) {
  const Bio bio = MemoryBio();
  if (PEM_write_bio_PrivateKey(bio.get(), pair.key.get(), nullptr, nullptr, 0, nullptr, nullptr) !=
      1) {
    throw OpensslFailure("The key cannot be written as PEM");
  }
  return Text(bio);
}

std::string CertificateText(const Pair& pair) {
  const Bio bio = MemoryBio();
  for (const Certificate& certificate : pair.chain) {
    if (PEM_write_bio_X509(bio.get(), certificate.get()) != 1)
      throw OpensslFailure("The certificate cannot be written as PEM");
  }
  return Text(bio);
}

std::string UtcText(const ASN1_TIME* time) {
  std::tm parts{};
  std::array<char, 64> text{};
  if (ASN1_TIME_to_tm(time, &parts) != 1) return "an unknown time";
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

std::vector<std::string> AlternativeNames(const X509* certificate) {
  std::vector<std::string> texts;
  const GeneralNames names(static_cast<GENERAL_NAMES*>(
      X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
  const int count = sk_GENERAL_NAME_num(names.get());
  texts.reserve(static_cast<std::size_t>(std::max(count, 0)));
  for (int i = 0; i < count; ++i)
    texts.push_back(NameText(sk_GENERAL_NAME_value(names.get(), i)));
  return texts;
}

std::string Describe(const Pair& pair) {
  const X509* const certificate = pair.chain.front().get();
  std::string text = std::string("key: ") + EVP_PKEY_get0_type_name(pair.key.get()) + " of " +
                     std::to_string(EVP_PKEY_get_bits(pair.key.get())) + " bits\n";
  text += "names: " + Joined(AlternativeNames(certificate)) + "\n";
  text += "valid: " + UtcText(X509_get0_notBefore(certificate)) + " to " +
          UtcText(X509_get0_notAfter(certificate)) + "\n";
  return text + "SHA-256 fingerprint: " + Fingerprint(certificate) + "\n";
}

}  // namespace qv::tools::cert
