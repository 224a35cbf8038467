#include <cstddef>
#include <cstdlib>
#include <new>

// Lets operator new fail wherever doubles/FailingAllocator refuses malloc. Programs that use it
// link with --wrap for the four names below besides; only calls from code linked into the program
// itself pass here, those of shared libraries do not.

namespace {

void AskForPermission(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  std::free(block);
}

}  // namespace

// The names of the operators tell what a size is, an unsigned long or an unsigned int: those that a
// platform does not have are weak and never called.
// NOLINTNEXTLINE(cert-dcl50-cpp)
#define QV_WRAP_NEW(name)                                         \
  extern "C" [[gnu::weak]] void* __real_##name(std::size_t size); \
  extern "C" void* __wrap_##name(std::size_t size) {              \
    AskForPermission(size);                                       \
    return __real_##name(size);                                   \
  }

QV_WRAP_NEW(_Znwm)
QV_WRAP_NEW(_Znam)
QV_WRAP_NEW(_Znwj)
QV_WRAP_NEW(_Znaj)
