#include "kit/osdep/GetCommonAppDataDirectory.h"

#include "kit/exception/Exception.h"
#include "kit/osdep/TrustedVariable.h"
#include "kit/osdep/path.h"
#include "kit/osdep/platform/FolderServices.h"

namespace qv::kit::osdep {
namespace {

/// What the environment asks for; empty when that is nothing, or bytes that are no text.
WString DirectoryInEnvironment() {
  try {
    return WString(TrustedVariable("QVPUBAPPDATADIR"));
  } catch (const exception::Exception&) {
    return WString();
  }
}

/// What the system asks for; empty when that is nothing, or no path.
WString PreferencesFolder() {
  try {
    return platform::FindPreferencesFolder();
  } catch (const exception::Exception&) {
    return WString();
  }
}

}  // namespace

WString GetCommonAppDataDirectory() {
  WString chosen = DirectoryInEnvironment();
  if (path::IsAbs(chosen)) return chosen;

  const WString preferences = PreferencesFolder();
  return path::Join(preferences.empty() ? L"/Library/Preferences/" : preferences, L"kestrix");
}

}  // namespace qv::kit::osdep
