#include "kit/osdep/GetCommonAppDataDirectory.h"

#include <cstdlib>

#include "kit/osdep/path.h"
#include "kit/osdep/platform/FolderServices.h"

namespace qv::kit::osdep {

WString GetCommonAppDataDirectory() {
  WString chosen(std::getenv("QVPUBAPPDATADIR"));
  if (path::IsAbs(chosen)) return chosen;

  const WString preferences = platform::FindPreferencesFolder();
  return path::Join(preferences.empty() ? L"/Library/Preferences/" : preferences, L"kestrix");
}

}  // namespace qv::kit::osdep
