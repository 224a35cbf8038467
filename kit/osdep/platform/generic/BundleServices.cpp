// A system without bundles: no look-up finds anything, so nothing can be done with what was found.
#include "kit/osdep/platform/BundleServices.h"

namespace qv::kit::osdep::platform {

void ReleaseBundle(BundleReference /*bundle*/) noexcept {}

void ReleaseUrl(UrlReference /*url*/) noexcept {}

OwnedUrl CreateUrlFromPath(const WString& /*path*/) {
  return nullptr;
}

OwnedUrl CreateUrlInStandardFolder(const WString& /*name*/, FolderDomain /*domain*/,
                                   FolderType /*folder*/) {
  return nullptr;
}

OwnedUrl CreateUrlOfMainBundleResource(const WString& /*name*/) {
  return nullptr;
}

OwnedBundle CreateBundle(UrlReference /*url*/) {
  return nullptr;
}

bool IsBundleExecutableLoaded(BundleReference /*bundle*/) {
  return false;
}

void* GetBundleFunctionPointer(BundleReference /*bundle*/, const WString& /*name*/) {
  return nullptr;
}

}  // namespace qv::kit::osdep::platform
