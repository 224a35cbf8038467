#include <cstddef>
#include <new>

// Sends the forms of operator new that doubles/FailingAllocator leaves alone, those that give null
// and those for arrays, the way of the plain one, so that they fail where it does.

namespace {

void* NewOrNull(std::size_t size) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return NewOrNull(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return NewOrNull(size);
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void operator delete[](void* block) noexcept {
  operator delete(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}
