#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

namespace qv::kit::osdep {

/// As CFRelease, for CFOwner.
struct CFReleaser {
  /// object must not be null.
  void operator()(CFTypeRef object) const noexcept { CFRelease(object); }
};

/// Owns one reference to a Core Foundation object of the type that RefT refers to; null when there
/// is none.
template <typename RefT>
using CFOwner = std::unique_ptr<std::remove_pointer_t<RefT>, CFReleaser>;

}  // namespace qv::kit::osdep
