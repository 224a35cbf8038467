#include "kit/AutoBufferGuts.h"

#include <cstdlib>
#include <new>

namespace qv::kit {

AutoBufferGuts::AutoBufferGuts(std::uint32_t capacity) {
  grow(capacity);
}

AutoBufferGuts::~AutoBufferGuts() {
  std::free(begin_);
}

void AutoBufferGuts::release() {
  if (references_.decrement() == 0) delete this;
}

void AutoBufferGuts::grow(std::uint32_t capacity) {
  if (capacity == 0) return;
  const std::uint32_t used = length();
  void* const moved = std::realloc(begin_, capacity);
  if (moved == nullptr) throw std::bad_alloc();
  begin_ = static_cast<unsigned char*>(moved);
  capacity_ = capacity;
  setLength(used);
}

}  // namespace qv::kit
