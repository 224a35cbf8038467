#pragma once

#include <dlfcn.h>

#include <string>

namespace qv::tests {

/// The file of one of the libraries in tests/doubles/plugins.
inline std::string PluginFile(const std::string& name) {
  return std::string(QV_PLUGIN_DIRECTORY) + "/lib" + name + ".dylib";
}

/// Whether the library in file is in the memory of this process.
inline bool IsMapped(const std::string& file) {
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) ::dlclose(handle);
  return handle != nullptr;
}

/// Calls a function that takes nothing and gives an int.
inline int CallForInt(void* function) {
  return reinterpret_cast<int (*)()>(function)();
}

}  // namespace qv::tests
