#pragma once

#include "kit/osdep/CriticalSection.h"

namespace qvsslinit {

/// Guards the making of the singleton and every release of a handle. Taken before the singleton's
/// own lock, never after it.
extern qv::kit::osdep::CriticalSection g_SingletonMutex;

}  // namespace qvsslinit
