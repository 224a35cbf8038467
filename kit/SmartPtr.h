#pragma once

#include <utility>

namespace qv::kit {

/// Copying means one reference more. An object that cannot take another one, and throws, has no
/// copy: null. Its code may be about to leave memory, and the exception with it.
template <typename T>
struct AddRefCopyPolicy {
  /// pointer with a reference more, or null. Null has no references.
  static T* copy(T* pointer) noexcept {
    if (pointer == nullptr) return nullptr;
    try {
      pointer->addRef();
    } catch (...) {
      return nullptr;
    }
    return pointer;
  }
};

/// Letting go means one reference less. Where the object throws, it is gone for the caller all the
/// same.
template <typename T>
struct RefCountedReleasePolicy {
  /// Null is let go without a word.
  static void release(T* pointer) noexcept {
    if (pointer == nullptr) return;
    try {
      pointer->release();
    } catch (...) {
      // There is nobody to tell.
    }
  }
};

/// Keeps one plain pointer.
template <typename T>
class PointerSPStoragePolicy {
 public:
  /// Holds pointer as it is, be it null.
  explicit PointerSPStoragePolicy(T* pointer) noexcept : pointer_(pointer) {}
  /// What is held. It stays the storage's.
  T* get() const noexcept { return pointer_; }
  /// References stay as many as they are.
  void swap(PointerSPStoragePolicy& other) noexcept { std::swap(pointer_, other.pointer_); }

 private:
  T* pointer_;
};

/// A pointer that holds a reference of its own to an object that counts its references. May be
/// null. One thread at a time may use it; the object is another matter.
template <typename T, typename CopyPolicy = AddRefCopyPolicy<T>,
          typename ReleasePolicy = RefCountedReleasePolicy<T>,
          typename StoragePolicy = PointerSPStoragePolicy<T>>
class SmartPtr {
 public:
  /// Null.
  SmartPtr() noexcept : SmartPtr(nullptr) {}
  /// Adds a reference; that of the caller, if he has one, remains his.
  explicit SmartPtr(T* pointer) noexcept : storage_(CopyPolicy::copy(pointer)) {}
  /// Adds a reference; null where the object takes none.
  SmartPtr(const SmartPtr& other) noexcept : SmartPtr(other.get()) {}
  /// The new object is referenced before the former is let go.
  SmartPtr& operator=(const SmartPtr& other) noexcept {
    SmartPtr(other).swap(*this);
    return *this;
  }
  ~SmartPtr() { ReleasePolicy::release(get()); }

  /// Neither adds nor gives back a reference.
  void swap(SmartPtr& other) noexcept { storage_.swap(other.storage_); }

  /// The object, or null. No reference is added: it lasts as long as somebody holds one.
  T* get() const noexcept { return storage_.get(); }
  /// @{
  /// The pointer must not be null.
  T* operator->() const noexcept { return get(); }
  T& operator*() const noexcept { return *get(); }
  /// @}
  /// Whether there is an object.
  explicit operator bool() const noexcept { return get() != nullptr; }

 private:
  StoragePolicy storage_;
};

}  // namespace qv::kit
