#pragma once

#include <string>

namespace qv::tests {

/// What a program that links ScriptedFolderServices.cpp has for a preferences folder.
extern std::wstring g_PreferencesFolder;

}  // namespace qv::tests
