#pragma once

#include <string>

#include "tests/sweep/Site.h"

namespace qv::tests {

/// What is wrong with a pair that the bare double wrote, or nothing. A key alone may be anything.
inline std::string TroubleWithBarePair(const Site& site) {
  const TemporaryDirectory& directory = site.directory();
  if (!directory.has(Site::kCertificate)) return "";
  // The lines: what it is, whose it is, that it is all.
  const auto ownerIn = [&](const char* file, const std::string& kind) -> std::string {
    const std::string begin = "-----BEGIN " + kind + "-----\n";
    const std::string end = "\n-----END " + kind + "-----\n";
    const std::string text = directory.has(file) ? directory.read(file) : "";
    const auto owner = text.find(end);
    if (text.rfind(begin, 0) != 0 || owner == std::string::npos) return "";
    return text.substr(begin.size(), owner - begin.size());
  };
  const std::string certificate = ownerIn(Site::kCertificate, "CERTIFICATE");
  if (certificate.empty()) return "the certificate is cut";
  const std::string key = ownerIn(Site::kKey, "RSA PRIVATE KEY");
  if (key.empty()) return "the key is cut";
  return key == certificate ? "" : "key and certificate do not match";
}

}  // namespace qv::tests
