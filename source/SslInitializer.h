#pragma once

#include <cstdint>

#include "kit/StatusChain.h"

namespace qvsslinit {

/// One caller's claim that OpenSSL be ready: takes a handle number when it is built and gives it
/// back when it is destroyed. What a host holds is a pointer to one of these.
class SslInitializer {
 public:
  /// status() tells whether it worked.
  SslInitializer();
  SslInitializer(const SslInitializer&) = delete;
  SslInitializer& operator=(const SslInitializer&) = delete;
  ~SslInitializer();

  /// The outcome of the construction: a failed object holds no handle.
  const qv::kit::StatusChain& status() const { return status_; }
  std::int32_t handle() const { return handle_; }

 private:
  std::int32_t handle_ = -1;
  qv::kit::StatusChain status_;
};

}  // namespace qvsslinit
