#pragma once

#include "kit/osdep/CriticalSection.h"

/// A lock that OpenSSL asks for at run time. OpenSSL names the type and leaves it to us.
struct CRYPTO_dynlock_value {
  qv::kit::osdep::CriticalSection criticalSection;
};
