#include <string>

#include "kit/osdep/GetModuleDirectory.h"

/// What GetModuleDirectory gives inside this library; valid until the next call.
extern "C" __attribute__((visibility("default"))) const wchar_t* qv_whereabouts(void* address) {
  static std::wstring directory;
  const qv::kit::WString found = qv::kit::osdep::GetModuleDirectory(address);
  directory.assign(found.begin(), found.end());
  return directory.c_str();
}
