#pragma once

#include "kit/StringBase.h"
#include "kit/osdep/platform/BundleServices.h"

namespace qv::kit::osdep {

/// A loadable bundle or framework. Opening it does not load its code: that happens when the first
/// function is asked for. One thread at a time may use an object.
///
/// The destructor is the only virtual operation, and the open bundle the only member.
class Bundle {
 public:
  /// Opens the bundle called name, which gets the suffix ".bundle" where it needs one. A name with
  /// a directory is a path; any other is looked for in the frameworks folders of the user, the
  /// machine and the system, then in the private frameworks of the system. Either way the resources
  /// of the running program's own bundle come last. When all fail, the object stays unopened.
  explicit Bundle(const WString& name);

  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;
  virtual ~Bundle() = default;

  /// Whether a bundle was found.
  bool isOpened() const noexcept { return bundle_ != nullptr; }

  /// Whether a bundle was found and its code is loaded.
  bool isLoaded() const;

  /// @{
  /// Opens the bundle at a place in place of the present one, which stays when there is none to
  /// open: that is told by the result. A url may be null, and stays the caller's.
  bool openBundle(platform::UrlReference url);
  bool openFromPath(const WString& path);
  bool openFromStandardLocation(const WString& name, platform::FolderDomain domain,
                                platform::FolderType folder);
  bool openFromMainBundle(const WString& name);
  /// @}

  /// The function called name; loads the code if need be. Valid as long as this object, or another
  /// one with the same bundle, is open. Where there is none: null when noThrow is set, otherwise
  /// throws CarbonError with code -1, or InvalidOperation when no bundle is open.
  void* getFunctionPointer(const WString& name, bool noThrow) const;

  /// name with ".bundle" at its end where its last component has no ".". Throws InvalidArgument
  /// when name is empty.
  static WString decorateName(const WString& name);

 private:
  bool openFromAnyStandardLocation(const WString& name);

  platform::OwnedBundle bundle_;
};

}  // namespace qv::kit::osdep
