#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/doubles/corefoundation/CoreFoundationDouble.h"

namespace qv::tests {

/// A test with a Core Foundation, in which every object created must be released.
class AppleTest : public testing::Test {
 protected:
  ~AppleTest() override { EXPECT_EQ(foundation_.liveObjects(), 0) << "objects leaked"; }

  bool called(const std::string& function) const {
    const auto begins = [&](const std::string& call) { return call.rfind(function, 0) == 0; };
    return std::any_of(foundation_.calls().begin(), foundation_.calls().end(), begins);
  }

  CoreFoundationDouble foundation_;
};

}  // namespace qv::tests
