#pragma once

#include <pthread.h>

namespace qv::kit::osdep {

/// Lets a deferred cancellation of the calling thread wait until this object goes. A thread that
/// vanished from the middle of a start would leave it half done, and the unwinding that ends it
/// must not be stopped by a handler for all exceptions. Leaves errno alone.
class CancellationDeferral {
 public:
  CancellationDeferral() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  ~CancellationDeferral() { pthread_setcancelstate(previous_, nullptr); }
  CancellationDeferral(const CancellationDeferral&) = delete;
  CancellationDeferral& operator=(const CancellationDeferral&) = delete;

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace qv::kit::osdep
