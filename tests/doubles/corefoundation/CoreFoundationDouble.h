#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qv::tests {

/// Encodings that a system can be set to.
constexpr CFStringEncoding kAscii = 0x0600;
constexpr CFStringEncoding kLatin1 = 0x0201;
constexpr CFStringEncoding kUtf8 = 0x08000100;

/// The Core Foundation and Carbon of a program that links it. One object at a time, and no call
/// without one.
///
/// A bundle is any directory. Its code is the library "code" in it; its resources are what else
/// lies there. Nothing else is done with the file system.
class CoreFoundationDouble {
 public:
  CoreFoundationDouble();
  CoreFoundationDouble(const CoreFoundationDouble&) = delete;
  CoreFoundationDouble& operator=(const CoreFoundationDouble&) = delete;
  ~CoreFoundationDouble();

  /// There are no standard folders, no main bundle and no bundle of the process until a test says
  /// so. The system encoding is kLatin1.
  void addFolder(std::int16_t domain, std::uint32_t type, const std::string& path);
  void setMainBundle(const std::string& path);
  void setProcessLocation(const std::string& path);
  void setSystemEncoding(CFStringEncoding encoding);

  /// What the Process Manager calls give instead of success.
  void setCurrentProcessResult(std::int16_t error);
  void setProcessLocationResult(std::int32_t status);

  /// The function called name gives null from now on.
  void fail(const std::string& name);

  /// All strings claim this length in place of their own.
  void claimLength(CFIndex length);

  /// CFStringGetBytes claims to have used so many bytes more than it did.
  void claimMoreBytes(CFIndex bytes);

  /// A string of these UTF-16 units, which need not be text. The caller releases it.
  CFStringRef makeString(const std::u16string& units);

  /// The calls made so far, in order, with the arguments that matter: names, flags and numbers.
  const std::vector<std::string>& calls() const;

  /// Objects created and not released. Releasing an object once too often ends the program.
  int liveObjects() const;

  struct State;

 private:
  std::unique_ptr<State> state_;
};

}  // namespace qv::tests
