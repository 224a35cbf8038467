#pragma once

#include <string>

#include "tests/sweep/Site.h"

namespace qv::tests {

/// The way of a host through the library, from loading it to the last Uninit, and through an INI
/// file: what it saw of it. Whatever fails, the host goes on.
struct HostRun {
  bool loaded = false;
  bool ready = false;
  int number = -1;
  bool settingsRead = false;
  bool settingsChanged = false;
  bool settingsWritten = false;

  static HostRun On(const Site& site) noexcept;

  /// Without the INI file.
  static HostRun OfLibraryOn(const Site& site) noexcept;
};

bool operator==(const HostRun& a, const HostRun& b);

/// What is wrong after a run in which something failed, or nothing: another thread must find the
/// library without a lock held or a handle counted, and the INI file must be as it was or complete.
std::string TroubleAfter(const HostRun& run, const Site& site);

/// How many descriptors the process has, and one for the counting.
int CountDescriptors();

}  // namespace qv::tests
