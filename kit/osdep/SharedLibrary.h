#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// A library of code loaded at run time, be it a bundle, a framework or a dynamic library, and the
/// functions in it.
///
/// A name whose last component has a "." is the name of a file and used as it is. Any other is
/// short: it is looked for with ".framework" at its end, then with ".bundle", and at last, by the
/// dynamic loader, as "lib" name ".dylib" in the same directory. Where the system looks for a name
/// without a directory is its own affair.
///
/// Every object holds its own reference to the library: the code stays in memory until the last one
/// lets go. One thread at a time may use an object.
///
/// The virtual operations are, in this order, the destructor, unload() and load(); the members
/// stand in a fixed order too.
class SharedLibrary {
 public:
  /// Nothing loaded, to be unloaded on destruction once it is.
  SharedLibrary() = default;

  /// @{
  /// Loads the library called name. isLoaded() tells whether there was one. The reserved flag is
  /// kept and has no effect.
  SharedLibrary(WString::Text name, bool unloadOnDestruction, bool reservedFlag);
  SharedLibrary(String::Text name, bool unloadOnDestruction, bool reservedFlag);
  /// @}

  /// @{
  /// Loads the library once more, by the name requested, when other has it loaded. The search runs
  /// anew: it may find another file than other has, or none, which leaves the copy unloaded. The
  /// names and flags of other are copied in any case; assignment too takes over whether to unload
  /// on destruction, and the library held until then goes by the flag that came with it.
  SharedLibrary(const SharedLibrary& other);
  SharedLibrary& operator=(const SharedLibrary& other);
  /// @}

  /// Unloads, unless the object was told not to.
  virtual ~SharedLibrary();

  /// Lets go of the library, if it is loaded; pointers to its functions become invalid with the
  /// last reference. The requested name is kept for load().
  virtual void unload();

  /// Loads the library by the name requested. Does nothing without a name, or when the library is
  /// loaded already. No library is no error: isLoaded() tells.
  virtual void load();

  /// Loads the library called name. Throws InvalidOperation when this object has loaded a library
  /// before, even if it has been unloaded since.
  void load(const WString& name);

  /// Loads and unloads nothing.
  void swap(SharedLibrary& other) noexcept;

  /// Whether this object has a library loaded.
  bool isLoaded() const noexcept;

  /// @{
  /// The address of symbolName. Where there is none: null when noThrow is set, otherwise throws
  /// PosixError with the loader's text and code 0 or, when what is or was loaded is a bundle,
  /// CarbonError with code -1.
  void* getFunctionPointer(String::Text symbolName, bool noThrow) const;
  void* getFunctionPointer(WString::Text symbolName, bool noThrow) const;
  /// @}

  /// name as it is: load() completes names itself.
  static WString decorateName(const WString& name) { return name; }

 private:
  bool loadBundle(WString name);
  void loadDynamicLibrary(WString name);
  void keep(void* handle, bool isBundle, WString& path) noexcept;
  void* getBundleFunction(const WString& name, bool noThrow) const;
  void* getDynamicLibraryFunction(const String& name, bool noThrow) const;

  /// The name under which the library was opened. Never cleared.
  WString loadedPath_;
  /// What dlopen gave, or a Bundle that this object owns.
  void* handle_ = nullptr;
  bool unloadOnDestruction_ = true;
  bool reservedFlag_ = false;
  WString requestedName_;
  /// Whether handle_ is, or last was, a Bundle.
  bool isBundle_ = false;
};

}  // namespace qv::kit::osdep
