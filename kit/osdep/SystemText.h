#pragma once

#include <cstdlib>
#include <memory>

namespace qv::kit::osdep {

/// Gives text back to the C library.
struct FreeSystemText {
  /// Null is none.
  void operator()(char* text) const noexcept { std::free(text); }
};

/// Text that the C library allocated and leaves to its caller to free.
using SystemText = std::unique_ptr<char, FreeSystemText>;

}  // namespace qv::kit::osdep
