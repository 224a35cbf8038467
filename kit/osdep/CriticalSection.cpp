#include "kit/osdep/CriticalSection.h"

namespace qv::kit::osdep {

CriticalSection::CriticalSection() : implementation_(std::make_unique<UnixCriticalSection>()) {}

CriticalSection::CriticalSection(IValidator* /*validator*/) : CriticalSection() {}

CriticalSection::~CriticalSection() = default;

}  // namespace qv::kit::osdep
