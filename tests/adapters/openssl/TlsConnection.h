#pragma once

#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tests/adapters/openssl/Adapters.h"

namespace qv::tests {

/// A TLS connection of this thread with itself, over the OpenSSL behind the SSL adapter: what the
/// server gets of what the client says. Throws when it does not come about.
inline std::string SayThroughTls(const Adapter& ssl, const std::string& words,
                                 const std::string& keyFile, const std::string& certificateFile) {
#define QV_TLS(name) ssl.function<decltype(::name)>(#name)
  const auto expect = [](bool done, const char* what) {
    if (!done) throw std::runtime_error(what);
  };
  const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> context(
      QV_TLS(SSL_CTX_new)(QV_TLS(TLS_method)()), QV_TLS(SSL_CTX_free));
  expect(context != nullptr, "no context");
  // The default certificate is weak on purpose.
  QV_TLS(SSL_CTX_set_security_level)(context.get(), 0);
  expect(QV_TLS(SSL_CTX_use_certificate_file)(context.get(), certificateFile.c_str(),
                                              SSL_FILETYPE_PEM) == 1,
         "the certificate is not taken");
  expect(QV_TLS(SSL_CTX_use_PrivateKey_file)(context.get(), keyFile.c_str(), SSL_FILETYPE_PEM) == 1,
         "the key is not taken");

  using Connection = std::unique_ptr<SSL, void (*)(SSL*)>;
  const Connection server(QV_TLS(SSL_new)(context.get()), QV_TLS(SSL_free));
  const Connection client(QV_TLS(SSL_new)(context.get()), QV_TLS(SSL_free));
  BIO* serverEnd = nullptr;
  BIO* clientEnd = nullptr;
  expect(QV_TLS(BIO_new_bio_pair)(&serverEnd, 0, &clientEnd, 0) == 1, "no pair");
  QV_TLS(SSL_set_bio)(server.get(), serverEnd, serverEnd);
  QV_TLS(SSL_set_bio)(client.get(), clientEnd, clientEnd);
  QV_TLS(SSL_set_accept_state)(server.get());
  QV_TLS(SSL_set_connect_state)(client.get());
  bool isDone = false;
  for (int i = 0; i < 10 && !isDone; ++i) {
    isDone = QV_TLS(SSL_do_handshake)(client.get()) == 1;
    isDone = QV_TLS(SSL_do_handshake)(server.get()) == 1 && isDone;
  }
  expect(isDone, "no handshake");
  QV_TLS(SSL_write)(client.get(), words.data(), static_cast<int>(words.size()));
  std::string heard(words.size(), ' ');
  const int length = QV_TLS(SSL_read)(server.get(), heard.data(), static_cast<int>(heard.size()));
  expect(length == static_cast<int>(words.size()), "nothing is heard");
  return heard;
#undef QV_TLS
}

}  // namespace qv::tests
