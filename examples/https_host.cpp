// A web server that starts on nothing: QVSSLINIT_Init leaves a key and a certificate, and one page
// is served with exactly that pair, on the loopback interface, until SIGTERM or SIGINT.
//
//     https_host [PORT [LIBRARY]]
//
// PORT 0, the default, lets the system choose. LIBRARY is by default ../lib/libqvsslinit.so beside
// this program.
#include <dlfcn.h>
#include <httplib.h>
#include <openssl/err.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <future>
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
    if (handle_ == nullptr) throw std::runtime_error("QVSSLINIT_Init: OpenSSL is not ready");
  }
  ReadyOpenssl(const ReadyOpenssl&) = delete;
  ReadyOpenssl& operator=(const ReadyOpenssl&) = delete;
  ~ReadyOpenssl() { uninit_(handle_); }

 private:
  decltype(QVSSLINIT_Uninit)* uninit_;
  QvSslInitHandle* handle_;
};

std::string DefaultLibrary() {
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  return (program.parent_path().parent_path() / "lib" / "libqvsslinit.so").string();
}

/// Where the default pair lies, without the ending that tells key and certificate apart.
std::string DefaultPair() {
  const char* data = std::getenv("QVPUBAPPDATADIR");
  const std::string directory = data != nullptr && data[0] == '/' ? data : "/var/lib/kestrix";
  return directory + "/certstore/server_certs/server_0";
}

std::string LastOpensslError() {
  char text[256];
  ERR_error_string_n(ERR_get_error(), text, sizeof text);
  return text;
}

bool UseDefaultPair(SSL_CTX& context) {
  // The certificate has an RSA key of 1024 bits and a SHA-1 signature, which today's default level
  // refuses. The level counts from here on, so it comes first.
  SSL_CTX_set_security_level(&context, 0);
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
    const Library library(argc > 2 ? argv[2] : DefaultLibrary());
    const ReadyOpenssl ready(library);
    ServeUntil(signals, port);
    return EXIT_SUCCESS;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "https_host: %s\n", exception.what());
    return EXIT_FAILURE;
  }
}
