#include "tests/doubles/HostName.h"

#include <algorithm>
#include <cstddef>

namespace qv::tests {
namespace {

std::string& HostName() {
  static std::string name = "host.example";
  return name;
}

}  // namespace

void SetHostName(const std::string& name) {
  HostName() = name;
}

}  // namespace qv::tests

// The C library's declaration says that it does not throw, and neither does this.
extern "C" __attribute__((visibility("default"))) int gethostname(char* buffer,
                                                                  std::size_t size) noexcept {
  const std::string& name = qv::tests::HostName();
  const std::size_t length = std::min(size - 1, name.size());
  std::copy_n(name.data(), length, buffer);
  buffer[length] = '\0';
  return 0;
}
