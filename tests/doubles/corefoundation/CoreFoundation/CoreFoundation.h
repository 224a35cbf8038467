// Just as much of Core Foundation as kit/osdep/platform/apple asks for, for programs that run it
// elsewhere. CoreFoundationDouble.h says what is behind it.
#pragma once

#include <cstdint>
#include <type_traits>

/// Marks a function whose result the caller releases, where the name does not say so.
#ifdef __clang__
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))
#else
#define CF_RETURNS_RETAINED
#endif

using Boolean = unsigned char;
using UInt8 = std::uint8_t;
using SInt16 = std::int16_t;
// 32 bits wide on every system, but not of one type.
using UInt32 = std::conditional_t<sizeof(void*) == 4, unsigned long, unsigned int>;
using SInt32 = std::conditional_t<sizeof(void*) == 4, signed long, signed int>;
using CFIndex = long;
using CFStringEncoding = UInt32;

using CFTypeRef = const void*;
using CFAllocatorRef = const struct DoubleAllocator*;
using CFStringRef = const struct DoubleString*;
using CFURLRef = const struct DoubleUrl*;
using CFBundleRef = struct DoubleBundle*;

struct CFRange {
  CFIndex location;
  CFIndex length;
};

inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
  return {location, length};
}

constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;
constexpr CFStringEncoding kCFStringEncodingUTF32LE = 0x1C000100;

enum CFURLPathStyle : CFIndex { kCFURLPOSIXPathStyle = 0 };

struct FSRef {
  UInt8 hidden[80];
};

extern "C" {

void CFRelease(CFTypeRef object);

CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex bufferLength, CFIndex* usedLength);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
CFStringEncoding CFStringGetSystemEncoding();

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                       CFURLPathStyle style, Boolean isDirectory);
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                               CFStringRef component, Boolean isDirectory);
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* place);
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
CFBundleRef CFBundleGetMainBundle();
CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type,
                                 CFStringRef subdirectory);
Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle);
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name);

}  // extern "C"
