#pragma once

#include <memory>

namespace qv::kit::osdep {

/// The recursive mutex behind CriticalSection, on pthreads. The operations are those of
/// CriticalSection, where they are described.
class UnixCriticalSection {
 public:
  UnixCriticalSection();
  UnixCriticalSection(const UnixCriticalSection&) = delete;
  UnixCriticalSection& operator=(const UnixCriticalSection&) = delete;
  ~UnixCriticalSection();

  void enter() const;
  bool tryEnter() const;
  void leave() const;
  bool inOwningThread() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qv::kit::osdep
