#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "tests/doubles/corefoundation/CoreFoundationDouble.h"

namespace qv::tests {

/// A test that looks at the Core Foundation below it.
class AppleTest : public testing::Test {
 protected:
  /// Whether a call begins with this text.
  bool called(const std::string& function) const {
    const auto begins = [&](const std::string& call) { return call.rfind(function, 0) == 0; };
    return std::any_of(foundation_.calls().begin(), foundation_.calls().end(), begins);
  }

  /// Does work over and over: with the first call failing that can fail, then with the second, and
  /// so on, and at last with none. Gives the number of calls that failed. Work must let go of all
  /// that it is given.
  int withEachCallFailing(const std::function<void()>& work) const {
    const int before = foundation_.references();
    for (int failed = 0;; ++failed) {
      foundation_.failCall(failed + 1);
      work();
      EXPECT_EQ(foundation_.references(), before) << "kept after " << foundation_.failedCall();
      if (!hasFailed()) {
        foundation_.failCall(0);
        return failed;
      }
    }
  }

  /// Whether a call has failed in this round of withEachCallFailing().
  bool hasFailed() const { return !foundation_.failedCall().empty(); }

  CoreFoundationDouble& foundation_ = CoreFoundationDouble::instance();
};

}  // namespace qv::tests
