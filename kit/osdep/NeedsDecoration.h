#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// Whether name is short for a file name, to be completed by the prefix and suffix of a kind of
/// library: its last component contains no ".". An empty name is not short for anything.
bool NeedsDecoration(const WString& name);

}  // namespace qv::kit::osdep
