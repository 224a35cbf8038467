#pragma once

#include "kit/StatusChain.h"

namespace qv::kit {

/// Turns the exception being handled into a status: the exception's code if that is negative, else
/// -1; -1 also for exceptions that are not of our family. Only for use in a catch block.
void SetStatusFromCurrentException(StatusChain& status) noexcept;

}  // namespace qv::kit
