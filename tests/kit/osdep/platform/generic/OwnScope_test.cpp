#include "kit/osdep/platform/OwnScope.h"

#include <gtest/gtest.h>

namespace qv::kit::osdep::platform {
namespace {

// The program has a function of its own in the place of one of the C library's.
TEST(OwnScopes, AreNotThereWhereTheHostStandsBeforeTheCLibrary) {
  EXPECT_FALSE(HasOwnScopes());
}

}  // namespace
}  // namespace qv::kit::osdep::platform
