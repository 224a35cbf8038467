#include "tools/cert/ImportedPair.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include "tools/cert/Failure.h"
#include "tools/cert/Serving.h"
#include "tools/cert/Warning.h"
#include "tools/cert/WholeFile.h"
#include "tools/common/Printable.h"

namespace qv::tools::cert {
namespace {

Bio TextBio(const std::string& text) {
  Bio bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  if (bio == nullptr) throw OpensslFailure("No memory for PEM text");
  return bio;
}

/// Knows no pass phrase, nobody is asked for one, but that one was wanted is noted.
int NotePassPhrase(char* /*buffer*/, int /*size*/, int /*isWriting*/, void* isWanted) {
  *static_cast<bool*>(isWanted) = true;
  return -1;
}

Key ReadKey(const std::string& path) {
  const std::string text = ReadWhole(path);
  const Bio bio = TextBio(text);
  bool isEncrypted = false;
  Key key(PEM_read_bio_PrivateKey(bio.get(), nullptr, NotePassPhrase, &isEncrypted));
  if (isEncrypted) {
    throw Failure(Quoted(path) +
                  " wants a pass phrase, which a server has nobody to ask for; store the key "
                  "without one: openssl pkey -in FILE -out NEWFILE");
  }
  if (key == nullptr) throw OpensslFailure(Quoted(path) + " holds no private key in PEM");
  return key;
}

/// Whether the certificate that could not be read is one that is not there.
bool IsAtEnd() {
  const unsigned long error = ERR_peek_last_error();
  return ERR_GET_LIB(error) == ERR_LIB_PEM && ERR_GET_REASON(error) == PEM_R_NO_START_LINE;
}

std::vector<Certificate> ReadChain(const std::string& path) {
  const std::string text = ReadWhole(path);
  const Bio bio = TextBio(text);
  std::vector<Certificate> chain;
  bool isEncrypted = false;
  while (Certificate next{PEM_read_bio_X509(bio.get(), nullptr, NotePassPhrase, &isEncrypted)})
    chain.push_back(std::move(next));
  if (!IsAtEnd()) {
    throw OpensslFailure(Quoted(path) + ", certificate " + std::to_string(chain.size() + 1) +
                         " is broken");
  }
  if (chain.empty()) throw OpensslFailure(Quoted(path) + " holds no certificate in PEM");
  ERR_clear_error();
  return chain;
}

void RequireMatch(const Pair& pair, const std::string& keyFile,
                  const std::string& certificateFile) {
  for (std::size_t i = 0; i < pair.chain.size(); ++i) {
    if (X509_check_private_key(pair.chain[i].get(), pair.key.get()) != 1) continue;
    if (i == 0) return;
    throw Failure("The key belongs to certificate " + std::to_string(i + 1) + " of " +
                  Quoted(certificateFile) + ": put that first, and those of its signers behind it");
  }
  throw Failure(Quoted(keyFile) + " is not the key of " + Quoted(certificateFile));
}

bool IsSigner(X509* signer, X509* certificate) {
  return X509_cmp(signer, certificate) != 0 &&
         X509_verify(certificate, X509_get0_pubkey(signer)) == 1;
}

void Judge(const Pair& pair) {
  const X509* const certificate = pair.chain.front().get();
  const ASN1_TIME* const begin = X509_get0_notBefore(certificate);
  const ASN1_TIME* const end = X509_get0_notAfter(certificate);
  if (X509_cmp_current_time(end) < 0) Warn("the certificate expired on " + UtcText(end));
  if (X509_cmp_current_time(begin) > 0)
    Warn("the certificate is not valid before " + UtcText(begin));
  if (AlternativeNames(certificate).empty())
    Warn("the certificate has no subjectAltName, where clients look for names");
  if (X509_check_purpose(pair.chain.front().get(), X509_PURPOSE_SSL_SERVER, 0) != 1)
    Warn("the certificate says that it is for another use than TLS servers");
  if (const std::string reason = WhyNotInUsualSettings(pair); !reason.empty())
    Warn("a server may not start with this pair: " + reason);
  for (std::size_t i = 1; i < pair.chain.size(); ++i) {
    if (!IsSigner(pair.chain[i].get(), pair.chain[i - 1].get()))
      Warn("certificate " + std::to_string(i + 1) + " is not that of the signer of certificate " +
           std::to_string(i) + ", which clients may not accept");
  }
}

}  // namespace

Pair ImportPair(const std::string& keyFile, const std::string& certificateFile) {
  Pair pair;
  pair.key = ReadKey(keyFile);
  pair.chain = ReadChain(certificateFile);
  RequireMatch(pair, keyFile, certificateFile);
  RequireUseToServer(pair);
  Judge(pair);
  return pair;
}

}  // namespace qv::tools::cert
