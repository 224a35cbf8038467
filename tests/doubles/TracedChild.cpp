#include "tests/doubles/TracedChild.h"

#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace qv::tests {
namespace {

/// What waiting for the child tells.
int StatusOf(pid_t child) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child) throw std::runtime_error("no child to wait for");
  return status;
}

#if defined(__x86_64__)
constexpr std::size_t kNumber = offsetof(user_regs_struct, orig_rax);
constexpr std::size_t kResult = offsetof(user_regs_struct, rax);
constexpr std::size_t kArguments[] = {
    offsetof(user_regs_struct, rdi), offsetof(user_regs_struct, rsi),
    offsetof(user_regs_struct, rdx), offsetof(user_regs_struct, r10),
    offsetof(user_regs_struct, r8),  offsetof(user_regs_struct, r9)};
#elif defined(__i386__)
constexpr std::size_t kNumber = offsetof(user_regs_struct, orig_eax);
constexpr std::size_t kResult = offsetof(user_regs_struct, eax);
constexpr std::size_t kArguments[] = {
    offsetof(user_regs_struct, ebx), offsetof(user_regs_struct, ecx),
    offsetof(user_regs_struct, edx), offsetof(user_regs_struct, esi),
    offsetof(user_regs_struct, edi), offsetof(user_regs_struct, ebp)};
#else
#error "where this processor has the number, the result and the arguments of a system call"
#endif

void SetRegister(pid_t child, std::size_t place, std::uint64_t value) {
  const std::size_t offset = offsetof(struct user, regs) + place;
  if (::ptrace(PTRACE_POKEUSER, child, offset, static_cast<unsigned long>(value)) != 0) {
    throw std::runtime_error("the child's registers cannot be set");
  }
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
  if (!WIFSTOPPED(status)) {
    endWith(status);
    return false;
  }
  if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
    throw std::runtime_error("a signal came in the child's way");
  }

  __ptrace_syscall_info info{};
  if (::ptrace(PTRACE_GET_SYSCALL_INFO, child_, sizeof(info), &info) <= 0) {
    throw std::runtime_error("the child's call is not known");
  }
  stop_.entry = info.op == PTRACE_SYSCALL_INFO_ENTRY;
  stop_.caller = info.instruction_pointer;
  if (stop_.entry) {
    stop_.number = info.entry.nr;
    for (std::size_t index = 0; index < stop_.arguments.size(); ++index)
      stop_.arguments[index] = info.entry.args[index];
  } else {
    stop_.result = info.exit.rval;
  }
  return true;
}

std::string TracedChild::textAt(std::uint64_t address) const {
  char text[256];
  const iovec here{text, sizeof text - 1};
  const iovec there{reinterpret_cast<void*>(static_cast<std::uintptr_t>(address)), here.iov_len};
  const ssize_t length = ::process_vm_readv(child_, &here, 1, &there, 1, 0);
  if (length < 0) return "";
  text[length] = '\0';
  return text;
}

void TracedChild::deny(int error) {
  SetRegister(child_, kNumber, static_cast<std::uint64_t>(-1));
  spoil(error);
}

void TracedChild::spoil(int error) {
  if (!step()) throw std::runtime_error("the child's call did not come back");
  stop_.result = -error;
  SetRegister(child_, kResult, static_cast<std::uint64_t>(stop_.result));
}

void TracedChild::setArgument(unsigned index, std::uint64_t value) {
  SetRegister(child_, kArguments[index], value);
  stop_.arguments[index] = value;
}

void TracedChild::finish() {
  ::ptrace(PTRACE_CONT, child_, nullptr, nullptr);
  const int status = StatusOf(child_);
  if (WIFSTOPPED(status)) throw std::runtime_error("a signal came in the child's way");
  endWith(status);
}

/// The child has ended; throws unless its work was done.
void TracedChild::endWith(int status) {
  ended_ = true;
  if (WIFSIGNALED(status)) {
    throw std::runtime_error(std::string("the child ended by ") + ::strsignal(WTERMSIG(status)));
  }
  if (WEXITSTATUS(status) != 0) throw std::runtime_error("the child failed");
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
