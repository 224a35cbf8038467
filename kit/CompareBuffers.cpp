#include "kit/CompareBuffers.h"

#include <algorithm>
#include <cstring>

namespace qv::kit {

namespace {

std::int32_t Sign(std::int64_t difference) noexcept {
  return (difference > 0) - (difference < 0);
}

}  // namespace

std::int32_t CompareBuffers(const BufferWrapper& a, const BufferWrapper& b) noexcept {
  const std::uint32_t common = std::min(a.Len(), b.Len());
  // An empty range may have no bytes to point at.
  const int difference = common == 0 ? 0 : std::memcmp(a.Data(), b.Data(), common);
  if (difference != 0) return Sign(difference);
  return Sign(std::int64_t{a.Len()} - std::int64_t{b.Len()});
}

}  // namespace qv::kit
