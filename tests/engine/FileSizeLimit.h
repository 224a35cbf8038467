#pragma once

#include <sys/resource.h>

#include <csignal>
#include <stdexcept>

namespace qv::tests {

/// Lets no file of this process grow beyond bytes, as a disk that is full then: what still fits is
/// written, the rest fails.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : formerHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    if (::getrlimit(RLIMIT_FSIZE, &former_) != 0) throw std::runtime_error("no limits");
    const rlimit limit{bytes, former_.rlim_max};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("limit refused");
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &former_);
    std::signal(SIGXFSZ, formerHandler_);
  }

 private:
  rlimit former_{};
  void (*formerHandler_)(int);
};

}  // namespace qv::tests
