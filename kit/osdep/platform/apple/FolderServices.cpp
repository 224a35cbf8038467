// The folders that the Folder Manager knows.
#include "kit/osdep/platform/FolderServices.h"

#include <Carbon/Carbon.h>
#include <CoreFoundation/CoreFoundation.h>

#include "kit/osdep/platform/apple/CFOwner.h"
#include "kit/osdep/platform/apple/CFStrings.h"

namespace qv::kit::osdep::platform {

WString FindPreferencesFolder() {
  FSRef place{};
  if (FSFindFolder(kLocalDomain, kPreferencesFolderType, kDontCreateFolder, &place) != noErr) {
    return WString();
  }
  const CFOwner<CFURLRef> folder(CFURLCreateFromFSRef(kCFAllocatorDefault, &place));
  return folder == nullptr ? WString() : CFURLToFilePath(folder.get(), kCFURLPOSIXPathStyle);
}

}  // namespace qv::kit::osdep::platform
