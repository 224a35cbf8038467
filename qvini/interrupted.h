/// System calls that a signal may interrupt.
#pragma once

#include <errno.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Whether a call that gave result, -1 for a failure, did nothing but to be interrupted: it has to
/// be made again.
static inline int qvini_WasInterrupted(long result) {
  return result == -1 && errno == EINTR;
}

#ifdef __cplusplus
}
#endif
