// Just as much of Carbon as kit/osdep/platform/apple asks for, for programs that run it elsewhere.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

using OSErr = SInt16;
using OSStatus = SInt32;
using OSType = UInt32;

constexpr OSErr noErr = 0;
constexpr SInt16 kLocalDomain = -32765;
constexpr OSType kPreferencesFolderType = 0x70726566;
constexpr Boolean kDontCreateFolder = 0;

struct ProcessSerialNumber {
  UInt32 highLongOfPSN;
  UInt32 lowLongOfPSN;
};

extern "C" {

OSErr FSFindFolder(SInt16 domain, OSType type, Boolean create, FSRef* place);
OSErr GetCurrentProcess(ProcessSerialNumber* process);
OSStatus GetProcessBundleLocation(const ProcessSerialNumber* process, FSRef* place);

}  // extern "C"
