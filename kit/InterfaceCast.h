#pragma once

#include <cstring>

#include "kit/IRefCounted.h"

namespace qv::kit {

/// Whether object comes with a description of its type, which stands before its virtual table. A
/// library built without such descriptions has none, and asking for its objects' type would crash.
inline bool HasTypeDescription(const IRefCounted& object) noexcept {
  const void* const* operations = nullptr;
  std::memcpy(static_cast<void*>(&operations), static_cast<const void*>(&object),
              sizeof(operations));
  return operations[-1] != nullptr;
}

/// object as the interface I, or null when it is none. The object may come from another library:
/// what counts is the name of the type, which is the same in every library. The C++ runtime must
/// compare types by name, as GNU's does, for the type descriptions of hidden symbols differ. No
/// reference is added.
template <typename I>
I* InterfaceCast(IRefCounted* object) noexcept {
  if (object == nullptr || !HasTypeDescription(*object)) return nullptr;
  return dynamic_cast<I*>(object);
}

}  // namespace qv::kit
