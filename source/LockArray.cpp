#include "source/LockArray.h"

#include <cstddef>
#include <memory>

namespace qvsslinit {

using qv::kit::osdep::CriticalSection;

LockArray::~LockArray() {
  destroy();
}

void LockArray::create(std::int32_t count) {
  replace(new CriticalSection[static_cast<std::size_t>(count)]);
}

void LockArray::destroy() {
  replace(nullptr);
}

// No callback may find an array that is being destroyed, so the pointer goes first.
void LockArray::replace(CriticalSection* locks) {
  const std::unique_ptr<CriticalSection[]> old(locks_.exchange(locks));
}

const CriticalSection* LockArray::at(int index) const {
  const CriticalSection* locks = locks_.load();
  return locks == nullptr ? nullptr : locks + index;
}

}  // namespace qvsslinit
