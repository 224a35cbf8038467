#include "kit/osdep/Bundle.h"

#include <gtest/gtest.h>

#include "kit/exception/InvalidArgument.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::WString;
using qv::kit::exception::InvalidArgument;
using qv::kit::osdep::Bundle;
using qv::tests::Exactly;

TEST(BundleOnASystemWithoutThem, NeverOpens) {
  for (const WString& name :
       {WString(), WString(L"foo"), WString(L"/tmp"), WString(L"/tmp.d/x.y")}) {
    const Bundle bundle(name);
    EXPECT_FALSE(bundle.isOpened());
    EXPECT_FALSE(bundle.isLoaded());
  }
}

TEST(BundleName, GetsItsSuffixWhereTheLastComponentHasNoDot) {
  EXPECT_EQ(Exactly(Bundle::decorateName(L"foo")), L"foo.bundle");
  EXPECT_EQ(Exactly(Bundle::decorateName(L"dir.d/foo")), L"dir.d/foo.bundle");
  EXPECT_EQ(Exactly(Bundle::decorateName(L"dir/")), L"dir/.bundle");
  EXPECT_EQ(Exactly(Bundle::decorateName(L"foo.framework")), L"foo.framework");
  EXPECT_EQ(Exactly(Bundle::decorateName(L"dir/foo.")), L"dir/foo.");
  EXPECT_EQ(Exactly(Bundle::decorateName(L".")), L".");
}

TEST(BundleName, MayNotBeEmptyToGetASuffix) {
  try {
    Bundle::decorateName(L"");
    FAIL();
  } catch (const InvalidArgument& error) {
    EXPECT_STREQ(error.what(), "Invalid argument(s)");
    EXPECT_EQ(error.getErrorCode(), -1967362033);
  }
}

}  // namespace
