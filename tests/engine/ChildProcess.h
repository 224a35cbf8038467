#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qv::tests {

/// Runs work in a child process, which ends then without any of its exit handlers.
template <typename Work>
pid_t InChild(Work work) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  work();
  ::_exit(0);
}

/// Whether a child process ended by itself and well.
inline testing::AssertionResult EndsWell(pid_t child) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child) return testing::AssertionFailure() << "no child";
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "status " << status;
}

}  // namespace qv::tests
