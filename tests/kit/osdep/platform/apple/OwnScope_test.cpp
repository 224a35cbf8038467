#include "kit/osdep/platform/OwnScope.h"

#include <gtest/gtest.h>

namespace qv::kit::osdep::platform {
namespace {

TEST(AppleOwnScope, IsWhatEveryLibraryHasWhenItIsOpenedTheUsualWay) {
  EXPECT_EQ(OpenInOwnScope("/usr/lib/libSystem.dylib"), nullptr);
}

}  // namespace
}  // namespace qv::kit::osdep::platform
