#pragma once

#include <optional>
#include <string>
#include <type_traits>

#include "tests/doubles/openssl/Journal.h"

namespace qv::tests {

/// An argument as the journal writes it: numbers as they are, texts in quotes, objects by name.
template <typename Argument>
std::string Text(Argument argument) {
  if constexpr (std::is_arithmetic_v<Argument>) {
    return std::to_string(argument);
  } else if constexpr (std::is_same_v<Argument, std::string>) {
    return argument;
  } else if constexpr (std::is_function_v<std::remove_pointer_t<Argument>>) {
    return argument == nullptr ? "null" : "callback";
  } else if constexpr (std::is_same_v<Argument, const char*> || std::is_same_v<Argument, char*>) {
    return argument == nullptr ? "null" : '"' + std::string(argument) + '"';
  } else {
    return Journal::instance().nameOf(argument);
  }
}

/// One call of the double. Written down when it is made; like a 1.0-series OpenSSL it holds one of
/// the static locks while it works.
class Call {
 public:
  template <typename... Arguments>
  explicit Call(const char* function, const Arguments&... arguments) {
    std::string list;
    ((list += (list.empty() ? "" : ", ") + Text(arguments)), ...);
    answer_ = Journal::instance().call(function, list);
    locking_ = Journal::instance().callbacks().locking;
    if (locking_ != nullptr) lock_ = Journal::instance().nextLock();
    if (lock_) locking_(kLock | kWrite, *lock_, function, 1);
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() {
    if (lock_) locking_(kUnlock | kWrite, *lock_, "", 2);
  }

  /// What the call is told to answer, else what work gives.
  template <typename Work>
  std::invoke_result_t<Work> result(Work work) const {
    using Result = std::invoke_result_t<Work>;
    if constexpr (std::is_pointer_v<Result>) {
      return answer_ ? nullptr : work();
    } else if constexpr (std::is_void_v<Result>) {
      work();
    } else {
      return answer_ ? static_cast<Result>(*answer_) : work();
    }
  }

 private:
  static constexpr int kLock = 1;
  static constexpr int kUnlock = 2;
  static constexpr int kWrite = 8;

  std::optional<long> answer_;
  std::optional<int> lock_;
  void (*locking_)(int mode, int n, const char* file, int line) = nullptr;
};

}  // namespace qv::tests
