#include "kit/osdep/platform/OwnScope.h"

#include <gtest/gtest.h>

#include "tests/doubles/Plugins.h"

namespace qv::kit::osdep::platform {
namespace {

TEST(AppleOwnScope, IsWhatEveryLibraryHasWhenItIsOpenedTheUsualWay) {
  EXPECT_FALSE(HasOwnScopes());
  EXPECT_EQ(OpenInOwnScope(tests::PluginFile("qv_plugin").c_str()), nullptr);
}

}  // namespace
}  // namespace qv::kit::osdep::platform
