#pragma once

#include "kit/SmartPtr.h"
#include "kit/osdep/SharedLibrary.h"

namespace qv::kit {

/// An interface together with the library that implements it: the code stays in memory as long as
/// the interface is held. Holds both or nothing. One thread at a time may use an object.
template <typename I>
class LibraryInterface {
 public:
  /// Nothing.
  LibraryInterface() = default;

  /// Loads library once more, adds a reference to interface. May throw what loading throws. Should
  /// the library not be there any more, the interface is not taken either.
  LibraryInterface(const osdep::SharedLibrary& library, const SmartPtr<I>& interface)
      : library_(library),
        interface_(library.isLoaded() && !library_.isLoaded() ? SmartPtr<I>() : interface) {}

  /// As above: the library is loaded once more.
  LibraryInterface(const LibraryInterface& other)
      : LibraryInterface(other.library_, other.interface_) {}

  /// Takes over the library, then the interface. What was held until now goes afterwards, its
  /// interface first. When loading throws, nothing has changed.
  LibraryInterface& operator=(const LibraryInterface& other) {
    LibraryInterface copy(other);
    library_.swap(copy.library_);
    interface_.swap(copy.interface_);
    return *this;
  }

  /// The interface goes before the library that holds its code.
  ~LibraryInterface() = default;

  /// Lets go of the interface, then of the library.
  void unload() noexcept {
    SmartPtr<I>().swap(interface_);
    library_.unload();
  }

  /// Not loaded when nothing is held.
  const osdep::SharedLibrary& library() const noexcept { return library_; }
  /// Null when nothing is held. No reference is added.
  I* interface() const noexcept { return interface_.get(); }

 private:
  osdep::SharedLibrary library_;
  SmartPtr<I> interface_;
};

}  // namespace qv::kit
