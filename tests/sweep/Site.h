#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/doubles/TemporaryDirectory.h"

namespace qv::tests {

/// An installation as a site has it: the library and the trace engine that are shipped, OpenSSL
/// beside them, two tags switched on, a "vantis.ini" in the current directory. One to a process.
class Site {
 public:
  /// crypto and ssl are the files to install as OpenSSL's.
  Site(const std::string& crypto, const std::string& ssl) {
    directory_.makeDirectory("lib");
    install(QV_LIBRARY, "lib/libqvsslinit.so");
    install(QV_ENGINE, "lib/libqv_traceengine.dylib");
    install(crypto, "lib/libeay32.dylib");
    install(ssl, "lib/libssleay32.dylib");
    directory_.write("qvsslinit.cfg", kTags);
    directory_.write("vantis.ini", "[NVE]\nShowReleaseAsserts = False\n");
    clear();
    ::setenv("QVPUBAPPDATADIR", directory_.path("data").c_str(), 1);
    ::setenv("QV_TRACE_CONFIG_DIR", directory_.path().c_str(), 1);
    ::setenv("QV_TRACE_OUTPUT", directory_.path("trace.log").c_str(), 1);
    // Enough for what is traced; to clear as many as usual is half of what a run takes.
    ::setenv("QV_TRACE_BLOCKS", "16", 1);
    if (::chdir(directory_.path().c_str()) != 0) throw std::runtime_error("no current directory");
  }

  const char* library() const { return library_.c_str(); }
  const char* crypto() const { return crypto_.c_str(); }
  const char* settings() const { return settings_.c_str(); }
  const TemporaryDirectory& directory() const { return directory_; }

  /// Files in the store, by names relative to directory().
  static constexpr const char* kKey = "data/certstore/server_certs/server_0.key";
  static constexpr const char* kCertificate = "data/certstore/server_certs/server_0.cer";

  static constexpr const char* kOldSettings = "[Section]\nOld = 1\n\n";

  /// As before the first run: an empty data directory, the settings as they were.
  void clear() const {
    std::filesystem::remove_all(directory_.path("data"));
    directory_.makeDirectory("data");
    directory_.write("settings.ini", kOldSettings);
  }

  /// Whether the store's directory for what is temporary is there and empty.
  bool isTemporaryEmpty() const {
    return std::filesystem::is_empty(directory_.path("data/certstore/temp"));
  }

  /// What a process leaves that is killed while it writes the certificate.
  void putLeftover() const {
    directory_.makeDirectory("data/certstore/server_certs");
    directory_.makeDirectory("data/certstore/temp");
    directory_.write("data/certstore/temp/server_0.cer.unfinished", "-----BEGIN CERT");
    std::filesystem::create_hard_link(
        directory_.path("data/certstore/temp/server_0.cer.unfinished"),
        directory_.path(kCertificate));
  }

  /// A pair of somebody else's in the store.
  void putForeignPair() const {
    directory_.makeDirectory("data/certstore/server_certs");
    directory_.write(kKey, kForeign);
    directory_.write(kCertificate, kForeign);
  }
  bool hasForeignPair() const {
    return directory_.read(kKey) == kForeign && directory_.read(kCertificate) == kForeign;
  }

 private:
  // Ten records for the first Init and its Uninit. The scopes would make a hundred that are alike.
  static constexpr const char* kTags = "RefCount : 1 : yes\nCertificate : 5 : yes\n";
  static constexpr const char* kForeign = "somebody else's\n";

  void install(const std::string& from, const std::string& to) const {
    std::filesystem::copy_file(from, directory_.path(to));
  }

  TemporaryDirectory directory_;
  std::string library_ = directory_.path("lib/libqvsslinit.so");
  std::string crypto_ = directory_.path("lib/libeay32.dylib");
  std::string settings_ = directory_.path("settings.ini");
};

}  // namespace qv::tests
