#pragma once

#include <cstdint>

#include "kit/BufferWrapper.h"

namespace qv::kit {

/// Order of two byte ranges: -1 when a comes first, 0 when they are equal, 1 when b comes first.
/// Bytes compare as unsigned values; a range that the other one begins with comes first.
std::int32_t CompareBuffers(const BufferWrapper& a, const BufferWrapper& b) noexcept;

}  // namespace qv::kit
