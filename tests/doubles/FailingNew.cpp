#include <cstddef>
#include <cstdlib>
#include <new>

// Lets operator new fail wherever doubles/FailingAllocator refuses malloc. Programs that use it
// link with --wrap=_Znwm and --wrap=_Znam besides; only calls from code linked into the program
// itself pass here, those of shared libraries do not.

extern "C" {
void* __real__Znwm(std::size_t size);
void* __real__Znam(std::size_t size);

void* __wrap__Znwm(std::size_t size);
void* __wrap__Znam(std::size_t size);
}

namespace {

void AskForPermission(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  std::free(block);
}

}  // namespace

void* __wrap__Znwm(std::size_t size) {
  AskForPermission(size);
  return __real__Znwm(size);
}

void* __wrap__Znam(std::size_t size) {
  AskForPermission(size);
  return __real__Znam(size);
}
