/*
 * A web server that starts on nothing: QVSSLINIT_Init leaves a key and a certificate, and one page
 * is served with exactly that pair, on the loopback interface, until SIGTERM or SIGINT.
 *
 *     https_host [PORT [LIBRARY]]
 *
 * PORT 0, the default, lets the system choose. LIBRARY is by default the one that the dynamic
 * loader finds. To build it:
 *
 *     c++ -std=c++17 -o https_host https_host.cpp $(pkg-config --cflags qvsslinit) \
 *       $(pkg-config --cflags --libs cpp-httplib openssl) -ldl
 */
#include <dlfcn.h>
#include <httplib.h>
#include <openssl/err.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>

#include "qvsslinit.h"

namespace {

/// The library, loaded as long as this object lives.
class Library {
 public:
  explicit Library(const std::string& file) : handle_(dlopen(file.c_str(), RTLD_NOW)) {
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { dlclose(handle_); }

  template <typename Function>
  Function* find(const char* name) const {
    void* found = dlsym(handle_, name);
    if (found == nullptr) throw std::runtime_error(dlerror());
    return reinterpret_cast<Function*>(found);
  }

 private:
  void* handle_;
};

/// OpenSSL, ready as long as this object lives.
class ReadyOpenssl {
 public:
  explicit ReadyOpenssl(const Library& library)
      : uninit_(library.find<decltype(QVSSLINIT_Uninit)>("QVSSLINIT_Uninit")),
        handle_(library.find<decltype(QVSSLINIT_Init)>("QVSSLINIT_Init")()) {
    if (handle_ == nullptr)
      throw std::runtime_error("QVSSLINIT_Init: OpenSSL is not ready; qvsslinit-doctor tells why");
  }
  ReadyOpenssl(const ReadyOpenssl&) = delete;
  ReadyOpenssl& operator=(const ReadyOpenssl&) = delete;
  ~ReadyOpenssl() { uninit_(handle_); }

 private:
  decltype(QVSSLINIT_Uninit)* uninit_;
  QvSslInitHandle* handle_;
};

/// Where the default pair lies, without the ending that tells key and certificate apart.
std::string DefaultPair() {
  const char* data = std::getenv("QVPUBAPPDATADIR");
  const std::string directory = data != nullptr && data[0] == '/' ? data : "/var/lib/kestrix";
  return directory + "/certstore/server_certs/server_0";
}

/// The connections that are open: OpenSSL says when one comes and goes.
class Connections {
 public:
  Connections() : index_(SSL_get_ex_new_index(0, this, &Come, nullptr, &Go)) {
    if (index_ < 0) throw std::runtime_error("connections cannot be watched");
  }
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;
  ~Connections() { CRYPTO_free_ex_index(CRYPTO_EX_INDEX_SSL, index_); }

  /// Whoever waits for one of their clients waits no longer.
  void shutDown() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const SSL* connection : open_)
      shutdown(SSL_get_fd(connection), SHUT_RDWR);
  }

 private:
  static void Come(void* connection, void*, CRYPTO_EX_DATA*, int, long, void* self) {
    auto& connections = *static_cast<Connections*>(self);
    const std::lock_guard<std::mutex> lock(connections.mutex_);
    connections.open_.insert(static_cast<SSL*>(connection));
  }
  static void Go(void* connection, void*, CRYPTO_EX_DATA*, int, long, void* self) {
    auto& connections = *static_cast<Connections*>(self);
    const std::lock_guard<std::mutex> lock(connections.mutex_);
    connections.open_.erase(static_cast<SSL*>(connection));
  }

  int index_;
  std::mutex mutex_;
  std::set<SSL*> open_;
};

std::string LastOpensslError() {
  char text[256];
  ERR_error_string_n(ERR_get_error(), text, sizeof text);
  return text;
}

bool UseDefaultPair(SSL_CTX& context) {
  SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION);
  // Debian's level of security, 2, refuses the default pair, whose RSA key has 1024 bits. The level
  // counts from here on, so it comes first. A better pair needs no such line.
  SSL_CTX_set_security_level(&context, 1);
  const std::string pair = DefaultPair();
  if (SSL_CTX_use_certificate_chain_file(&context, (pair + ".cer").c_str()) != 1) {
    throw std::runtime_error("certificate " + pair + ".cer: " + LastOpensslError());
  }
  if (SSL_CTX_use_PrivateKey_file(&context, (pair + ".key").c_str(), SSL_FILETYPE_PEM) != 1) {
    throw std::runtime_error("key " + pair + ".key: " + LastOpensslError());
  }
  return true;
}

int Bind(httplib::Server& server, int port) {
  const char* const loopback = "127.0.0.1";
  if (port == 0)
    port = server.bind_to_any_port(loopback);
  else if (!server.bind_to_port(loopback, port))
    port = -1;
  if (port < 0) throw std::runtime_error("the port cannot be had");
  return port;
}

/// Serves until one of the signals arrives, which every thread must have blocked by then.
void ServeUntil(const sigset_t& signals, int port) {
  Connections connections;
  httplib::SSLServer server(UseDefaultPair);
  server.Get("/", [](const httplib::Request&, httplib::Response& response) {
    response.set_content("Served over HTTPS with the default certificate.\n", "text/plain");
  });
  server.set_keep_alive_timeout(1);  // an idle connection does not hold up the end for longer
  port = Bind(server, port);

  std::future<bool> served = std::async(std::launch::async, [&server] {
    const bool ended = server.listen_after_bind();
    kill(getpid(), SIGTERM);  // in case that nobody asked for it
    return ended;
  });
  // A server that does not run yet cannot be stopped.
  while (!server.is_running() &&
         served.wait_for(std::chrono::milliseconds(1)) == std::future_status::timeout) {
  }
  std::printf("listening on https://127.0.0.1:%d/\n", port);
  std::fflush(stdout);

  int signal = 0;
  sigwait(&signals, &signal);
  server.stop();
  // Who was connected is answered, if that takes no longer than this.
  std::chrono::milliseconds patience = std::chrono::seconds(5);
  while (served.wait_for(patience) == std::future_status::timeout) {
    connections.shutDown();
    patience = std::chrono::milliseconds(10);
  }
  if (!served.get()) throw std::runtime_error("the server ended by itself");
}

int PortFrom(const char* text) {
  char* end = nullptr;
  const long port = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || port < 0 || port > 65535) {
    throw std::runtime_error(std::string("no port: ") + text);
  }
  return static_cast<int>(port);
}

}  // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");  // names of directories are read in the encoding of the locale
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // before there are threads: they inherit it
  try {
    const int port = argc > 1 ? PortFrom(argv[1]) : 0;
    const Library library(argc > 2 ? argv[2] : "libqvsslinit.so.1");
    const ReadyOpenssl ready(library);
    ServeUntil(signals, port);
    return EXIT_SUCCESS;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "https_host: %s\n", exception.what());
    return EXIT_FAILURE;
  }
}
