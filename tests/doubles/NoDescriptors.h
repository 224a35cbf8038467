#pragma once

#include <sys/resource.h>

namespace qv::tests {

/// No file can be opened as long as it lives. Nor can a sanitizer then ask what kind an object with
/// virtual functions is: a test asks for what it needs of its fixture beforehand.
class NoDescriptors {
 public:
  NoDescriptors() {
    ::getrlimit(RLIMIT_NOFILE, &former_);
    const rlimit none{0, former_.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
  }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;
  ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &former_); }

 private:
  rlimit former_{};
};

}  // namespace qv::tests
