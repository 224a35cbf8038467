#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "kit/DLLAlloc.h"

namespace qv::kit {

/// Ends an object that MakeDLLObject() made.
template <typename T>
struct DLLDeleter {
  /// Destroys object, which must not be null, and frees its memory.
  void operator()(T* object) const noexcept {
    object->~T();
    DLLFree(object);
  }
};

/// Owns an object in memory that another module may give back. As large as a pointer.
template <typename T>
using DLLPointer = std::unique_ptr<T, DLLDeleter<T>>;

/// Constructs an object in memory of DLLMalloc. Throws std::bad_alloc, or what the construction
/// throws; no memory is lost then.
template <typename T, typename... Arguments>
DLLPointer<T> MakeDLLObject(Arguments&&... arguments) {
  static_assert(alignof(T) <= alignof(std::max_align_t), "DLLMalloc aligns no further");
  struct RawDeleter {
    void operator()(void* memory) const noexcept { DLLFree(memory); }
  };
  std::unique_ptr<void, RawDeleter> memory(DLLMalloc(sizeof(T)));
  DLLPointer<T> object(::new (memory.get()) T(std::forward<Arguments>(arguments)...));
  // From here on the object owns the memory that it lies in.
  static_cast<void>(memory.release());
  return object;
}

}  // namespace qv::kit
