#pragma once

#include <string>
#include <vector>

namespace qv::tests {

/// Collects the release assertions that are raised as long as the object lives, as
/// "FILE:LINE: EXPRESSION: MESSAGE", instead of having them printed. Programs that use it link with
/// --wrap for qv::kit::osdep::OutputReleaseAssertion. One object at a time, one thread.
class ReleaseAssertions {
 public:
  ReleaseAssertions();
  ~ReleaseAssertions();
  ReleaseAssertions(const ReleaseAssertions&) = delete;
  ReleaseAssertions& operator=(const ReleaseAssertions&) = delete;

  const std::vector<std::string>& all() const { return all_; }

  /// For the wrapper.
  void add(const std::string& assertion) { all_.push_back(assertion); }

 private:
  std::vector<std::string> all_;
};

}  // namespace qv::tests
