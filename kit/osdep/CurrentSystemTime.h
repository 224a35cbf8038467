#pragma once

#include "kit/AbsTime.h"

namespace qv::kit::osdep {

/// What the system's clock says, which counts in microseconds. Any thread may call.
AbsTime CurrentSystemTime() noexcept;

}  // namespace qv::kit::osdep
