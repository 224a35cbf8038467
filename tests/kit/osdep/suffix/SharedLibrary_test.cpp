#include "kit/osdep/SharedLibrary.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/doubles/ObjectLayout.h"
#include "tests/doubles/Plugins.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::osdep::SharedLibrary;
using qv::tests::Exactly;
using qv::tests::LayoutOf;
using qv::tests::PluginFile;
using qv::tests::TemporaryDirectory;
using qv::tests::TextOf;

TEST(SharedLibraryWithASuffixOfItsOwn, LooksForShortNamesWithIt) {
  const TemporaryDirectory directory;
  std::filesystem::copy_file(PluginFile("qv_plugin"), directory.path("libfoo.dylib"));
  EXPECT_FALSE(SharedLibrary(directory.wide("foo"), true, true).isLoaded());
  std::filesystem::copy_file(PluginFile("qv_plugin"), directory.path("libfoo.so"));
  const SharedLibrary library(directory.wide("foo"), true, true);
  ASSERT_TRUE(library.isLoaded());
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).loadedPath),
            Exactly(directory.wide("libfoo.so")));
}

TEST(SharedLibraryWithASuffixOfItsOwn, StillTakesFullFileNamesAsTheyAre) {
  const TemporaryDirectory directory;
  std::filesystem::copy_file(PluginFile("qv_plugin"), directory.path("libeay32.dylib"));
  EXPECT_TRUE(SharedLibrary(directory.wide("libeay32.dylib"), true, true).isLoaded());
}

}  // namespace
