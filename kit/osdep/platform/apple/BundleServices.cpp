// Bundles by way of Core Foundation: the opaque references are CFBundleRef and CFURLRef.
#include "kit/osdep/platform/BundleServices.h"

#include <Carbon/Carbon.h>
#include <CoreFoundation/CoreFoundation.h>

#include "kit/osdep/platform/apple/CFOwner.h"
#include "kit/osdep/platform/apple/CFStrings.h"

namespace qv::kit::osdep::platform {
namespace {

CFBundleRef ToCF(BundleReference bundle) {
  return reinterpret_cast<CFBundleRef>(bundle);
}

CFURLRef ToCF(UrlReference url) {
  return reinterpret_cast<CFURLRef>(url);
}

OwnedUrl Own(CFURLRef url) {
  return OwnedUrl(reinterpret_cast<UrlReference>(url));
}

/// Null where name is no text, or where the system would take a zero character for its end and find
/// something else.
CFOwner<CFStringRef> NameToCF(const WString& name) {
  return CFOwner<CFStringRef>(name.hasEmbeddedNull() ? nullptr : StringToCFString(name));
}

}  // namespace

void ReleaseBundle(BundleReference bundle) noexcept {
  CFRelease(ToCF(bundle));
}

void ReleaseUrl(UrlReference url) noexcept {
  CFRelease(ToCF(url));
}

OwnedUrl CreateUrlFromPath(const WString& path) {
  const CFOwner<CFStringRef> text = NameToCF(path);
  if (text == nullptr) return nullptr;
  return Own(
      CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.get(), kCFURLPOSIXPathStyle, true));
}

OwnedUrl CreateUrlInStandardFolder(const WString& name, FolderDomain domain, FolderType type) {
  FSRef place{};
  const auto volume = static_cast<SInt16>(domain);
  if (FSFindFolder(volume, static_cast<OSType>(type), kDontCreateFolder, &place) != noErr) {
    return nullptr;
  }
  const CFOwner<CFURLRef> folder(CFURLCreateFromFSRef(kCFAllocatorDefault, &place));
  const CFOwner<CFStringRef> text = NameToCF(name);
  if (folder == nullptr || text == nullptr) return nullptr;
  return Own(
      CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, folder.get(), text.get(), false));
}

OwnedUrl CreateUrlOfMainBundleResource(const WString& name) {
  // Not ours to release. A program need not have one.
  const CFBundleRef mainBundle = CFBundleGetMainBundle();
  const CFOwner<CFStringRef> text = NameToCF(name);
  if (mainBundle == nullptr || text == nullptr) return nullptr;
  return Own(CFBundleCopyResourceURL(mainBundle, text.get(), nullptr, nullptr));
}

OwnedBundle CreateBundle(UrlReference url) {
  const CFBundleRef bundle = CFBundleCreate(kCFAllocatorDefault, ToCF(url));
  return OwnedBundle(reinterpret_cast<BundleReference>(bundle));
}

bool IsBundleExecutableLoaded(BundleReference bundle) {
  return CFBundleIsExecutableLoaded(ToCF(bundle));
}

void* GetBundleFunctionPointer(BundleReference bundle, const WString& name) {
  const CFOwner<CFStringRef> text = NameToCF(name);
  if (text == nullptr) return nullptr;
  return CFBundleGetFunctionPointerForName(ToCF(bundle), text.get());
}

}  // namespace qv::kit::osdep::platform
