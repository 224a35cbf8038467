#pragma once

#include <dlfcn.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace qv::tests {

/// The file that address lies in, behind all links.
inline std::string FileOf(const void* address) {
  Dl_info info;
  if (::dladdr(address, &info) == 0) throw std::runtime_error("an address of no library");
  return std::filesystem::canonical(info.dli_fname);
}

/// An adapter, open as long as this lives, by the flags with which the service opens it.
class Adapter {
 public:
  explicit Adapter(const std::string& file, int more = 0)
      : handle_(::dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL | more), &::dlclose) {
    if (handle_ == nullptr) throw std::runtime_error(file + " is not open");
  }

  void* find(const char* name) const { return ::dlsym(handle_.get(), name); }

  template <typename Function>
  Function* function(const char* name) const {
    void* found = find(name);
    if (found == nullptr) throw std::runtime_error(std::string("no function ") + name);
    return reinterpret_cast<Function*>(found);
  }

 private:
  std::unique_ptr<void, int (*)(void*)> handle_;
};

}  // namespace qv::tests
