#include "kit/osdep/CriticalSection.h"

#include "kit/osdep/UnixCriticalSection.h"

namespace qv::kit::osdep {

CriticalSection::CriticalSection() : implementation_(std::make_unique<UnixCriticalSection>()) {}

CriticalSection::CriticalSection(IValidator* /*validator*/) : CriticalSection() {}

CriticalSection::~CriticalSection() = default;

void CriticalSection::enter() const {
  implementation_->enter();
}

bool CriticalSection::tryEnter() const {
  return implementation_->tryEnter();
}

void CriticalSection::leave() const {
  implementation_->leave();
}

bool CriticalSection::inOwningThread() const {
  return implementation_->inOwningThread();
}

}  // namespace qv::kit::osdep
