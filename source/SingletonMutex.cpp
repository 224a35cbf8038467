#include "source/SingletonMutex.h"

#include <exception>
#include <memory>

namespace qvsslinit {

using qv::kit::osdep::CriticalSection;

std::atomic<bool> SingletonMutex::gone_{false};

SingletonMutex::~SingletonMutex() {
  gone_ = true;
  delete section_.exchange(nullptr);
}

bool SingletonMutex::make() noexcept {
  if (gone_) return false;
  try {
    auto made = std::make_unique<CriticalSection>();
    // Another thread may have come first; its section is the one.
    const CriticalSection* none = nullptr;
    if (section_.compare_exchange_strong(none, made.get())) static_cast<void>(made.release());
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace qvsslinit
