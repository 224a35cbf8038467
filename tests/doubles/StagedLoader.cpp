#include "tests/doubles/StagedLoader.h"

#include <algorithm>
#include <cstdlib>

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

void* StagedLoader::open(const char* name, int flags) {
  if (std::find(requests_.begin(), requests_.end(), name) == requests_.end()) {
    requests_.emplace_back(name);
  }
  const auto found = files_.find(name);
  return found == files_.end() ? nullptr : __real_dlopen(found->second.c_str(), flags);
}

}  // namespace qv::tests
