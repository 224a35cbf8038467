#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qv::tests {

/// Encodings that a system can be set to.
constexpr CFStringEncoding kLatin1 = 0x0201;
constexpr CFStringEncoding kUtf8 = 0x08000100;

/// The Core Foundation and Carbon of a program that links it. Every test of the program has one of
/// its own, and fails when it ends with a reference that it was given and did not release. To
/// release once too often, to use what has been released, to pass null or an object of another kind
/// ends the program, and so does a call outside a test.
///
/// A bundle is any directory. Its code is the library "code" in it; its resources are what else
/// lies there. Nothing else is done with the file system.
class CoreFoundationDouble {
 public:
  /// That of the test that runs.
  static CoreFoundationDouble& instance();

  /// Called when a test begins.
  CoreFoundationDouble();
  CoreFoundationDouble(const CoreFoundationDouble&) = delete;
  CoreFoundationDouble& operator=(const CoreFoundationDouble&) = delete;
  ~CoreFoundationDouble();

  /// There are no standard folders, no main bundle and no bundle of the process until a test says
  /// so. The system encoding is kLatin1.
  void addFolder(SInt16 domain, UInt32 type, const std::string& path);
  void setMainBundle(const std::string& path);
  void setProcessLocation(const std::string& path);
  void setSystemEncoding(CFStringEncoding encoding);

  /// The function called name fails from now on: it gives null, false, no bytes, or this status.
  void fail(const std::string& name, std::int32_t status = -1);

  /// Of the calls from now on that can fail, the one with this number does, counted from 1.
  void failCall(int number);
  /// The call that failCall() let fail, as in calls(); empty when it did not come to that.
  const std::string& failedCall() const;

  /// All strings claim this length in place of their own.
  void claimLength(CFIndex length);

  /// CFStringGetBytes claims to have used so many bytes more than it did.
  void claimMoreBytes(CFIndex bytes);

  /// Whatever is to be encoded claims to need at most this size.
  void claimMaximumSize(CFIndex size);

  /// A string of these UTF-16 units, which need not be text. The caller releases it.
  CFStringRef makeString(const std::u16string& units);

  /// The calls made so far, in order, with the arguments that matter: names, flags and numbers.
  const std::vector<std::string>& calls() const;

  /// References given out and not released.
  int references() const;

  struct State;

 private:
  std::unique_ptr<State> state_;
};

}  // namespace qv::tests
