#pragma once

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>

namespace qv::tests {

/// Does work in a child process, which may change its user, its limits or what it is allowed, and
/// gives its result. Throws when the child ends before it has one.
inline int InChild(const std::function<int()>& work) {
  // Shared memory, for the child may have lost the right to write.
  void* memory =
      ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
  int* result = static_cast<int*>(memory);
  const pid_t child = ::fork();
  if (child == 0) {
    try {
      *result = work();
    } catch (...) {
      ::_exit(1);
    }
    ::_exit(0);
  }
  int status = 0;
  const bool done = child != -1 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
                    WEXITSTATUS(status) == 0;
  const int value = *result;
  ::munmap(memory, sizeof(int));
  if (!done) {
    const std::string how = WIFSIGNALED(status)
                                ? std::string(" by ") + ::strsignal(WTERMSIG(status))
                                : " with " + std::to_string(WEXITSTATUS(status));
    throw std::runtime_error("the child ended early" + how);
  }
  return value;
}

}  // namespace qv::tests
