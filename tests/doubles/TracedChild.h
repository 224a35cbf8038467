#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace qv::tests {

/// A child process that does one piece of work and stands still before and after each of its system
/// calls, so that a test can see them, change what they give, and end the child at any of them.
/// Needs a program with one thread; threads that the child starts run on unseen. The child is
/// killed at the latest when the object ends.
class TracedChild {
 public:
  /// Where the child stands.
  struct Stop {
    bool entry;                              ///< before the call; otherwise behind it
    std::uint64_t number;                    ///< which call, as in sys/syscall.h
    std::array<std::uint64_t, 6> arguments;  /// of the call, before it and behind it
    std::int64_t result;                     ///< behind the call: what it gave, or -errno
    std::uint64_t caller;                    ///< address of the code that makes the call
  };

  /// Starts the child, which waits at the beginning of work. Throws when a child cannot be traced.
  explicit TracedChild(const std::function<void()>& work);
  TracedChild(const TracedChild&) = delete;
  TracedChild& operator=(const TracedChild&) = delete;
  ~TracedChild();

  /// Lets the child go on to its next stop; false when the work is done and the child has ended.
  /// Throws when it ended in any other way.
  bool step();

  /// Where the child stands after a step that gave true.
  const Stop& stop() const { return stop_; }

  /// The text at an address of the child, such as a path among the arguments, or its beginning;
  /// empty when there is none.
  std::string textAt(std::uint64_t address) const;

  /// The call before which the child stands is not made. The child goes on to stand behind it, and
  /// it has given -error.
  void deny(int error);

  /// The call before which the child stands is made, but gives -error all the same.
  void spoil(int error);

  /// Changes an argument of the call before which the child stands.
  void setArgument(unsigned index, std::uint64_t value);

  /// Lets the child go on to the end of its work without another stop. Throws as step() does.
  void finish();

  /// Kills the child where it stands and waits until it is gone.
  void kill();

 private:
  void endWith(int status);

  pid_t child_;
  bool ended_ = false;
  Stop stop_{};
};

}  // namespace qv::tests
