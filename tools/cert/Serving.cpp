#include "tools/cert/Serving.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include "tools/cert/Failure.h"

namespace qv::tools::cert {
namespace {

using Context = std::unique_ptr<SSL_CTX, Freer<SSL_CTX_free>>;
using Connection = std::unique_ptr<SSL, Freer<SSL_free>>;

constexpr char kFails[] = "No TLS server can serve with this pair";

Context MakeContext() {
  Context context(SSL_CTX_new(TLS_method()));
  if (context == nullptr) throw OpensslFailure("OpenSSL makes no TLS context");
  return context;
}

bool Load(SSL_CTX* context, const Pair& pair) {
  if (SSL_CTX_use_certificate(context, pair.chain.front().get()) != 1 ||
      SSL_CTX_use_PrivateKey(context, pair.key.get()) != 1) {
    return false;
  }
  for (std::size_t i = 1; i < pair.chain.size(); ++i) {
    if (SSL_CTX_add1_chain_cert(context, pair.chain[i].get()) != 1) return false;
  }
  return true;
}

/// Takes the handshake as far as it goes without the other side; whether it is over.
bool Proceed(SSL* side) {
  ERR_clear_error();
  const int result = SSL_do_handshake(side);
  if (result == 1) return true;
  if (SSL_get_error(side, result) != SSL_ERROR_WANT_READ) throw OpensslFailure(kFails);
  return false;
}

void Connect(SSL* server, SSL* client) {
  BIO* serverEnd = nullptr;
  BIO* clientEnd = nullptr;
  // All that one side says in a handshake fits, however long the chain is.
  constexpr std::size_t kSize = std::size_t{1} << 22U;
  if (BIO_new_bio_pair(&serverEnd, kSize, &clientEnd, kSize) != 1) throw OpensslFailure(kFails);
  SSL_set_bio(server, serverEnd, serverEnd);
  SSL_set_bio(client, clientEnd, clientEnd);
  SSL_set_accept_state(server);
  SSL_set_connect_state(client);
}

}  // namespace

void RequireUseToServer(const Pair& pair) {
  const Context context = MakeContext();
  SSL_CTX_set_security_level(context.get(), 0);
  const Connection client(SSL_new(context.get()));
  if (!Load(context.get(), pair)) throw OpensslFailure(kFails);
  const Connection server(SSL_new(context.get()));
  if (client == nullptr || server == nullptr) throw OpensslFailure(kFails);
  Connect(server.get(), client.get());
  for (bool isOver = false; !isOver;) {
    const bool isClientDone = Proceed(client.get());
    isOver = Proceed(server.get()) && isClientDone;
  }
}

std::string WhyNotInUsualSettings(const Pair& pair) {
  const Context context = MakeContext();
  ERR_clear_error();
  if (Load(context.get(), pair)) return "";
  return OpensslFailure("OpenSSL in its usual settings refuses it").what();
}

}  // namespace qv::tools::cert
