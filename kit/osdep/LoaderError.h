#pragma once

#include "kit/exception/PosixError.h"

namespace qv::kit::osdep {

/// What the dynamic loader last complained about in this thread, as an error with code 0: such a
/// failure is told by its type and text alone. The text is "Unknown error" when the loader has
/// none.
PosixError LoaderError();

}  // namespace qv::kit::osdep
