#pragma once

#include <cstdint>

#include "kit/StatusChain.h"

namespace qvsslinit {

/// The code of a failure that has none of its own.
constexpr std::int32_t kFailed = -1;

inline bool Failed(const qv::kit::StatusChain& status) {
  return status.code() < 0;
}

/// Turns the exception being handled into a status and an error record under functionName. For use
/// in a catch block: nothing that is thrown below the service leaves it.
void FailWithCurrentException(qv::kit::StatusChain& status, const char* functionName) noexcept;

}  // namespace qvsslinit
