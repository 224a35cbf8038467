#include "engine/ForkMark.h"

#include <sys/mman.h>

#include <cstddef>
#include <new>

namespace qv::traceengine {
namespace {

#ifdef MADV_WIPEONFORK
constexpr int kEmptyInChildren = MADV_WIPEONFORK;
#else
constexpr int kEmptyInChildren = -1;  // which is refused
#endif

}  // namespace

bool ForkMark::prepare() noexcept {
  constexpr std::size_t kSize = sizeof(std::atomic<char>);  // the system rounds it up
  void* const page =
      ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (page == MAP_FAILED) return false;
  if (::madvise(page, kSize, kEmptyInChildren) != 0) {
    ::munmap(page, kSize);
    return false;
  }
  page_ = new (page) std::atomic<char>(kMarked);
  return true;
}

}  // namespace qv::traceengine
