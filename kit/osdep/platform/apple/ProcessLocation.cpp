// The bundle of this process, or its executable where it has none, as the Process Manager knows it.
#include "kit/osdep/platform/ProcessLocation.h"

#include <Carbon/Carbon.h>
#include <CoreFoundation/CoreFoundation.h>

#include <limits>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/CarbonError.h"
#include "kit/osdep/platform/apple/CFOwner.h"
#include "kit/osdep/platform/apple/CFStrings.h"

namespace qv::kit::osdep::platform {
namespace {

/// status in the 16 bits that an error has; -1 when they do not hold it, for what is left of it
/// could read as success.
short ErrorCode(OSStatus status) {
  using Limits = std::numeric_limits<short>;
  return status < Limits::min() || status > Limits::max() ? short{-1} : static_cast<short>(status);
}

}  // namespace

WString FindRunningExecutable() {
  ProcessSerialNumber process{};
  const OSErr error = GetCurrentProcess(&process);
  if (error != noErr) QV_THROW(CarbonError(error));

  FSRef place{};
  const OSStatus status = GetProcessBundleLocation(&process, &place);
  if (status != noErr) QV_THROW(CarbonError(ErrorCode(status)));

  const CFOwner<CFURLRef> url(CFURLCreateFromFSRef(kCFAllocatorDefault, &place));
  if (url == nullptr) QV_THROW(CarbonError(-1));
  return CFURLToFilePath(url.get(), kCFURLPOSIXPathStyle);
}

}  // namespace qv::kit::osdep::platform
