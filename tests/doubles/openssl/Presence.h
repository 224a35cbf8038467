#pragma once

#include <string>

#include "tests/doubles/openssl/Journal.h"

namespace qv::tests {

/// Notes when a library comes into memory and when it leaves.
class Presence {
 public:
  explicit Presence(const char* file) : file_(file) { Journal::instance().note("load " + file_); }
  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;
  ~Presence() { Journal::instance().note("unload " + file_); }

 private:
  std::string file_;
};

}  // namespace qv::tests
