#include "tests/doubles/TracedChild.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace qv::tests {
namespace {

/// What waiting for the child tells.
int StatusOf(pid_t child) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child) throw std::runtime_error("no child to wait for");
  return status;
}

}  // namespace

TracedChild::TracedChild(const std::function<void()>& work) : child_(::fork()) {
  if (child_ == -1) throw std::runtime_error("no child process");
  if (child_ == 0) {
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(1);
    ::raise(SIGSTOP);
    work();
    ::_exit(0);
  }
  const int status = StatusOf(child_);
  ended_ = !WIFSTOPPED(status);
  if (ended_ || ::ptrace(PTRACE_SETOPTIONS, child_, nullptr,
                         PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) != 0) {
    kill();
    throw std::runtime_error("this system lets no process be traced");
  }
}

TracedChild::~TracedChild() {
  kill();
}

bool TracedChild::step() {
  ::ptrace(PTRACE_SYSCALL, child_, nullptr, nullptr);
  const int status = StatusOf(child_);
  if (WIFEXITED(status)) {
    ended_ = true;
    if (WEXITSTATUS(status) != 0) throw std::runtime_error("the child failed");
    return false;
  }
  if (!WIFSTOPPED(status) || WSTOPSIG(status) != (SIGTRAP | 0x80)) {
    ended_ = WIFSIGNALED(status);
    throw std::runtime_error("a signal came in the child's way");
  }

  __ptrace_syscall_info info{};
  if (::ptrace(PTRACE_GET_SYSCALL_INFO, child_, sizeof(info), &info) <= 0) {
    throw std::runtime_error("the child's call is not known");
  }
  stop_.entry = info.op == PTRACE_SYSCALL_INFO_ENTRY;
  if (stop_.entry) {
    stop_.number = info.entry.nr;
    for (std::size_t index = 0; index < stop_.arguments.size(); ++index)
      stop_.arguments[index] = info.entry.args[index];
  } else {
    stop_.result = info.exit.rval;
  }
  return true;
}

void TracedChild::kill() {
  if (ended_) return;
  ::kill(child_, SIGKILL);
  int status = 0;
  while (::waitpid(child_, &status, 0) == child_ && WIFSTOPPED(status))
    continue;
  ended_ = true;
}

}  // namespace qv::tests
