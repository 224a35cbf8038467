#include "kit/exception/CarbonError.h"

namespace qv::kit::osdep {

namespace {

constexpr short kFnfErr = -43;

std::uint32_t SignExtended(short code) {
  return static_cast<std::uint32_t>(std::int32_t{code});
}

}  // namespace

CarbonError::CarbonError(short code) : CarbonError("Unknown error code", code) {}

CarbonError::CarbonError(const String& message, short code)
    : OSException(message, SignExtended(code)) {}

std::int32_t CarbonError::getErrorCode() const noexcept {
  return StatusWith(SignExtended(kFnfErr));
}

}  // namespace qv::kit::osdep
