#include "engine/EngineSettings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/doubles/Text.h"

namespace qv::traceengine {
namespace {

EngineSettings With(const char* variable, const char* value) {
  ::setenv(variable, value, 1);
  return EngineSettings::FromEnvironment();
}

std::wstring DirectoryWith(const char* value) {
  return tests::Exactly(With("QV_TRACE_CONFIG_DIR", value).configDirectory);
}

TEST(EngineSettings, HaveDefaults) {
  for (const char* variable :
       {"QV_TRACE_CONFIG_DIR", "QV_TRACE_OUTPUT", "QV_TRACE_BLOCKS", "QV_TRACE_TAG_NAMES"})
    ::unsetenv(variable);
  const EngineSettings settings = EngineSettings::FromEnvironment();
  EXPECT_EQ(tests::Exactly(settings.configDirectory), L"/etc/kestrix/trace");
  EXPECT_EQ(settings.outputPath, "");
  EXPECT_EQ(settings.blocks, 1024u);
  EXPECT_TRUE(settings.showTagNames);
}

TEST(EngineSettings, TakeAnAbsoluteConfigurationDirectoryOnly) {
  EXPECT_EQ(DirectoryWith("/opt/trace"), L"/opt/trace");
  EXPECT_EQ(DirectoryWith("opt/trace"), L"/etc/kestrix/trace");
  EXPECT_EQ(DirectoryWith(""), L"/etc/kestrix/trace");
}

TEST(EngineSettings, TakeAnAbsoluteOutputOnly) {
  EXPECT_EQ(With("QV_TRACE_OUTPUT", "/var/log/trace.log").outputPath, "/var/log/trace.log");
  EXPECT_EQ(With("QV_TRACE_OUTPUT", "trace.log").outputPath, "");
  EXPECT_EQ(With("QV_TRACE_OUTPUT", "").outputPath, "");
}

TEST(EngineSettings, TakeANumberOfBlocksWithinItsBounds) {
  EXPECT_EQ(With("QV_TRACE_BLOCKS", "1").blocks, 1u);
  EXPECT_EQ(With("QV_TRACE_BLOCKS", "0016").blocks, 16u);
  EXPECT_EQ(With("QV_TRACE_BLOCKS", "65536").blocks, 65536u);
}

TEST(EngineSettings, TakeTheDefaultForANumberOfBlocksThatIsNone) {
  for (const char* nonsense : {"", "0", "65537", "4294967297", "18446744073709551617", "-1", "+8",
                               " 8", "8 ", "0x10", "many", "1e3"})
    EXPECT_EQ(With("QV_TRACE_BLOCKS", nonsense).blocks, 1024u) << nonsense;
}

TEST(EngineSettings, ShowTagNamesUnlessToldNo) {
  EXPECT_FALSE(With("QV_TRACE_TAG_NAMES", "no").showTagNames);
  for (const char* other : {"", "yes", "No", "0", "no "})
    EXPECT_TRUE(With("QV_TRACE_TAG_NAMES", other).showTagNames) << other;
}

}  // namespace
}  // namespace qv::traceengine
