#include "kit/osdep/platform/apple/CFStrings.h"

#include <cstdint>

#include "kit/SafeInteger.h"
#include "kit/osdep/platform/apple/CFOwner.h"

namespace qv::kit::osdep {
namespace {

constexpr CFIndex kCharacterBytes = sizeof(wchar_t);

}  // namespace

WString CFStringToString(CFStringRef string) {
  // In UTF-16, thus never less than the number of characters.
  const CFIndex length = CFStringGetLength(string);
  if (length < 1) return WString();

  WString text;
  text.resize(SafeInteger<unsigned long>(length).value());
  CFIndex bytes = 0;
  CFStringGetBytes(string, CFRangeMake(0, length), kCFStringEncodingUTF32LE, 0, false,
                   reinterpret_cast<UInt8*>(text.begin()), length * kCharacterBytes, &bytes);
  text.resize(static_cast<std::uint32_t>(bytes / kCharacterBytes));
  return text;
}

CFStringRef StringToCFString(const WString& string) {
  return CFStringCreateWithBytes(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(string.begin()),
      static_cast<CFIndex>(string.length()) * kCharacterBytes, kCFStringEncodingUTF32LE, false);
}

WString CFURLToFilePath(CFURLRef url, CFURLPathStyle pathStyle) {
  const CFOwner<CFStringRef> path(CFURLCopyFileSystemPath(url, pathStyle));
  return path == nullptr ? WString() : CFStringToString(path.get());
}

}  // namespace qv::kit::osdep
