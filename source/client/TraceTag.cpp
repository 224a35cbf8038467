#include "source/client/TraceTag.h"

#include <cstring>

namespace qv::traceengine {

TraceTag::~TraceTag() = default;

int TraceTag::Initialize(const char* name, int id, bool enabled) {
  id_ = id;
  enabled_ = enabled;
  if (name == nullptr) return -1;
  const std::size_t length = std::strlen(name);
  if (length >= sizeof(name_)) return 0;
  std::memset(name_, 0, sizeof(name_));
  std::memcpy(name_, name, length);
  return 0;
}

}  // namespace qv::traceengine
