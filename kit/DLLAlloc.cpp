#include "kit/DLLAlloc.h"

#include <cstdlib>
#include <new>

namespace qv::kit {

void* DLLMallocNoThrow(unsigned long size) noexcept {
  return std::malloc(size);
}

void* DLLMalloc(unsigned long size) {
  void* block = DLLMallocNoThrow(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* DLLReallocNoThrow(void* block, unsigned long size) noexcept {
  if (size == 0 && block != nullptr) {
    std::free(block);
    return nullptr;
  }
  // Null and a size of 0 are left to the C library, whose answers differ and are all fine here.
  return std::realloc(block, size);  // NOLINT(clang-analyzer-optin.portability.UnixAPI)
}

void* DLLRealloc(void* block, unsigned long size) {
  void* moved = DLLReallocNoThrow(block, size);
  if (moved == nullptr && size != 0) throw std::bad_alloc();
  return moved;
}

void DLLFree(void* block) noexcept {
  std::free(block);
}

}  // namespace qv::kit
