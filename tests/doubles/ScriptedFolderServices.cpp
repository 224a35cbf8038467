#include "tests/doubles/ScriptedFolderServices.h"

#include "kit/osdep/platform/FolderServices.h"

namespace qv::tests {

std::wstring g_PreferencesFolder;

}  // namespace qv::tests

namespace qv::kit::osdep::platform {

WString FindPreferencesFolder() {
  return qv::tests::g_PreferencesFolder.c_str();
}

}  // namespace qv::kit::osdep::platform
