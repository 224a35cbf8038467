#pragma once

#include <cstdint>
#include <memory>

#include "kit/StringBase.h"

namespace qv::kit::osdep::platform {

// Loadable bundles: directories that hold code and its resources. On systems without them every
// look-up fails. A name that holds a zero character names nothing.

// What the references point to is known to the implementation alone.
struct OpaqueBundle;
struct OpaqueUrl;

/// @{
/// Refers to a bundle, or to a place in the file system; counted, and owned where the type says so.
using BundleReference = OpaqueBundle*;
using UrlReference = const OpaqueUrl*;
/// @}

/// @{
/// Takes back one reference, which must not be null.
void ReleaseBundle(BundleReference bundle) noexcept;
void ReleaseUrl(UrlReference url) noexcept;
/// @}

/// As ReleaseBundle(), for OwnedBundle.
struct BundleReleaser {
  /// bundle must not be null.
  void operator()(BundleReference bundle) const noexcept { ReleaseBundle(bundle); }
};
/// As ReleaseUrl(), for OwnedUrl.
struct UrlReleaser {
  /// url must not be null.
  void operator()(UrlReference url) const noexcept { ReleaseUrl(url); }
};

/// Owns one reference to a bundle; null when there is none.
using OwnedBundle = std::unique_ptr<OpaqueBundle, BundleReleaser>;
/// Owns the name of a place in the file system; null when there is none.
using OwnedUrl = std::unique_ptr<const OpaqueUrl, UrlReleaser>;

/// Who the standard folders are for. The values are the system's own.
enum class FolderDomain : std::int16_t { User = -32763, Local = -32765, System = -32766 };

/// The standard folders that hold code; the values are four-character codes.
enum class FolderType : std::uint32_t {
  Frameworks = 0x6672616D,         // fram
  PrivateFrameworks = 0x7066726D,  // pfrm
};

/// The place with a POSIX path, taken for a directory. Null when the path names none.
OwnedUrl CreateUrlFromPath(const WString& path);

/// The place called name inside a standard folder, which is not created. Null when the system has
/// no such folder.
OwnedUrl CreateUrlInStandardFolder(const WString& name, FolderDomain domain, FolderType folder);

/// The resource called name of the bundle that the running program comes from, or null.
OwnedUrl CreateUrlOfMainBundleResource(const WString& name);

/// The bundle at url, which must not be null. Null when there is no bundle.
OwnedBundle CreateBundle(UrlReference url);

/// Whether the code of the bundle has been loaded.
bool IsBundleExecutableLoaded(BundleReference bundle);

/// The function called name, after loading the code if need be. Null when the bundle has none.
void* GetBundleFunctionPointer(BundleReference bundle, const WString& name);

}  // namespace qv::kit::osdep::platform
