#include "tests/doubles/ReleaseAssertions.h"

#include <cstdlib>

namespace {

qv::tests::ReleaseAssertions* g_Assertions = nullptr;

}  // namespace

extern "C" void __wrap__ZN2qv3kit5osdep22OutputReleaseAssertionEPKcS3_S3_j(const char* expression,
                                                                           const char* message,
                                                                           const char* file,
                                                                           unsigned line) {
  if (g_Assertions == nullptr) std::abort();
  g_Assertions->add(std::string(file) + ":" + std::to_string(line) + ": " + expression + ": " +
                    message);
}

namespace qv::tests {

ReleaseAssertions::ReleaseAssertions() {
  if (g_Assertions != nullptr) std::abort();
  g_Assertions = this;
}

ReleaseAssertions::~ReleaseAssertions() {
  g_Assertions = nullptr;
}

}  // namespace qv::tests
