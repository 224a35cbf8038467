#pragma once

#include <cstring>
#include <string>

#include "abi/layout.h"

namespace qv::tests {

/// What object holds, as another module sees it.
template <typename Layout, typename Object>
Layout LayoutOf(const Object& object) {
  static_assert(sizeof(Layout) == sizeof(Object) && alignof(Layout) == alignof(Object));
  Layout layout;
  std::memcpy(&layout, static_cast<const void*>(&object), sizeof(layout));
  return layout;
}

/// Lets object hold what layout says.
template <typename Layout, typename Object>
void SetLayout(Object& object, const Layout& layout) {
  static_assert(sizeof(Layout) == sizeof(Object) && alignof(Layout) == alignof(Object));
  std::memcpy(static_cast<void*>(&object), &layout, sizeof(layout));
}

inline std::wstring TextOf(const WideStringLayout& string) {
  return {string.begin, string.end};
}

}  // namespace qv::tests
