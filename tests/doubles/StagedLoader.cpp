#include "tests/doubles/StagedLoader.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

qv::tests::StagedLoader* g_Loader = nullptr;

}  // namespace

extern "C" {
void* __real_dlopen(const char* name, int flags);

void* __wrap_dlopen(const char* name, int flags) {
  return g_Loader == nullptr ? __real_dlopen(name, flags) : g_Loader->open(name, flags);
}
}

namespace qv::tests {

StagedLoader::StagedLoader() {
  if (g_Loader != nullptr) std::abort();
  g_Loader = this;
}

StagedLoader::~StagedLoader() {
  g_Loader = nullptr;
}

std::vector<std::string> StagedLoader::names() const {
  std::vector<std::string> names;
  for (const std::string& name : requests_) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  }
  return names;
}

void* StagedLoader::open(const char* name, int flags) noexcept {
  // Like the real one, this never throws: without memory there is no library.
  try {
    requests_.emplace_back(name);
    const auto found = files_.find(name);
    return found == files_.end() ? nullptr : __real_dlopen(found->second.c_str(), flags);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace qv::tests
