#pragma once

#include <string>
#include <vector>

#include "tools/cert/Openssl.h"

namespace qv::tools::cert {

/// A private key and its certificate, with the certificates of those who signed it, if there are
/// any, in the order in which a server presents them.
struct Pair {
  Key key;
  std::vector<Certificate> chain;
};

/// The key as a file holds it: PEM "PRIVATE KEY", not encrypted. Throws Failure.
std::string KeyText(const Pair& pair);

/// The certificates as a file holds them: PEM, nothing else, that of the key first. Throws Failure.
std::string CertificateText(const Pair& pair);

/// What the pair is, in lines for people: the key, whom the certificate names, how long it is
/// valid, its fingerprint.
std::string Describe(const Pair& pair);

/// The moment, as in "2026-11-22T08:58:36Z".
std::string UtcText(const ASN1_TIME* time);

/// The names and addresses of the certificate's subjectAltName, printable; others than names of
/// hosts and addresses count as "(another kind of name)".
std::vector<std::string> AlternativeNames(const X509* certificate);

}  // namespace qv::tools::cert
