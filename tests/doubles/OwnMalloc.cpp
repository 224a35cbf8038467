// A host with an allocator of its own; the C library's functions use it too.
#include <cstddef>

extern "C" void* __libc_malloc(std::size_t size);

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) {
  return __libc_malloc(size);
}
