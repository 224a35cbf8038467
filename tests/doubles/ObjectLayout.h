#pragma once

#include <cstddef>
#include <cstring>
#include <string>

#include "kit/osdep/SharedLibrary.h"

namespace qv::tests {

/// A SharedLibrary as another module sees it: the members in their documented order.
struct SharedLibraryLayout {
  struct WideString {
    const wchar_t* begin;
    const wchar_t* end;
    const wchar_t* capacityEnd;
    std::wstring text() const { return {begin, end}; }
  };

  explicit SharedLibraryLayout(const kit::osdep::SharedLibrary& library) {
    static_assert(sizeof(*this) == sizeof(library));
    std::memcpy(static_cast<void*>(this), static_cast<const void*>(&library), sizeof(*this));
  }

  const void* operations;
  WideString loadedPath;
  const void* handle;
  bool unloadOnDestruction;
  bool reservedFlag;
  WideString requestedName;
  bool isBundle;
};

/// The slot of a virtual operation, counted from 0. The destructor takes the first two.
template <typename OperationT>
std::size_t VirtualSlot(OperationT operation) {
  std::size_t representation[2];
  static_assert(sizeof(operation) == sizeof(representation));
  std::memcpy(representation, &operation, sizeof(operation));
  return (representation[0] - 1) / sizeof(void*);
}

}  // namespace qv::tests
