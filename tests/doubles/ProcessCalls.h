#pragma once

#include <cstdint>

namespace qv::tests {

/// What a process asks of the C library and the dynamic loader.
enum class ProcessCall { kMemory, kDlopen, kDlsym, kIconvOpen, kGethostname, kGettimeofday };

/// Stands between this whole process and one kind of call as long as the object lives: lets chosen
/// ones fail. Programs that link ProcessCalls.cpp export the functions, so that the libraries that
/// they load come here as well; for memory (malloc, its like, and operator new through it) these
/// are the C library and the loader, too. Under a sanitizer, which needs the other calls for
/// itself, memory alone. One object at a time.
class ProcessCalls {
 public:
  enum class Failing { kOne, kAllFrom };
  /// Whose calls count, and fail: those of the thread that makes the object, or of any other.
  enum class Threads { kThisOne, kAllOthers };

  struct Fault {
    ProcessCall call;
    int error;  ///< what errno is then
    Failing failing = Failing::kOne;
    Threads threads = Threads::kThisOne;
    bool sparesLoader = false;  ///< calls that the dynamic loader makes for itself do not count
  };

  /// The nth call from now fails, 1 being the next, or it and all that follow.
  ProcessCalls(const Fault& fault, std::uint64_t n);
  ProcessCalls(const ProcessCalls&) = delete;
  ProcessCalls& operator=(const ProcessCalls&) = delete;
  ~ProcessCalls();

  /// How many calls there have been since the last object was made, failed ones included.
  static std::uint64_t calls();
};

}  // namespace qv::tests
