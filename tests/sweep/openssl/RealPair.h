#pragma once

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <memory>
#include <string>

#include "tests/sweep/Site.h"

namespace qv::tests {

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;
using Session = std::unique_ptr<SSL, decltype(&SSL_free)>;

inline std::string Failed(const char* what) {
  const unsigned long error = ERR_get_error();
  ERR_clear_error();
  const char* const reason = ERR_reason_error_string(error);
  return std::string(what) + ": " + (reason == nullptr ? "" : reason);
}

inline Context MakeContext(const SSL_METHOD* method) {
  Context context(SSL_CTX_new(method), &SSL_CTX_free);
  // The default pair's key and signature are below what today's policies take.
  SSL_CTX_set_security_level(context.get(), 0);
  return context;
}

/// Lets both ends speak in turns, over a pair of buffers, until both are done.
inline bool ShakeHands(SSL* client, SSL* server) {
  BIO* clientEnd = nullptr;
  BIO* serverEnd = nullptr;
  if (BIO_new_bio_pair(&clientEnd, 0, &serverEnd, 0) != 1) return false;
  SSL_set_bio(client, clientEnd, clientEnd);
  SSL_set_bio(server, serverEnd, serverEnd);
  SSL_set_connect_state(client);
  SSL_set_accept_state(server);
  constexpr int kMostTurns = 10;
  for (int turn = 0; turn < kMostTurns; ++turn) {
    const bool clientDone = SSL_do_handshake(client) == 1;
    const bool serverDone = SSL_do_handshake(server) == 1;
    if (clientDone && serverDone) return true;
  }
  return false;
}

/// What is wrong with a pair that the real OpenSSL wrote, or nothing: a server takes both, and a
/// client that trusts this certificate alone takes the server.
inline std::string TroubleWithRealPair(const Site& site) {
  const std::string key = site.directory().path(Site::kKey);
  const std::string certificate = site.directory().path(Site::kCertificate);
  if (!site.directory().has(Site::kCertificate)) return "";
  const Context server = MakeContext(TLS_server_method());
  if (SSL_CTX_use_certificate_file(server.get(), certificate.c_str(), SSL_FILETYPE_PEM) != 1) {
    return Failed("the certificate");
  }
  if (SSL_CTX_use_PrivateKey_file(server.get(), key.c_str(), SSL_FILETYPE_PEM) != 1) {
    return Failed("the key");
  }
  if (SSL_CTX_check_private_key(server.get()) != 1) return Failed("both together");

  const Context client = MakeContext(TLS_client_method());
  SSL_CTX_set_verify(client.get(), SSL_VERIFY_PEER, nullptr);
  if (SSL_CTX_load_verify_file(client.get(), certificate.c_str()) != 1) return Failed("trust");
  const Session clientSession(SSL_new(client.get()), &SSL_free);
  const Session serverSession(SSL_new(server.get()), &SSL_free);
  return ShakeHands(clientSession.get(), serverSession.get()) ? "" : Failed("the handshake");
}

}  // namespace qv::tests
