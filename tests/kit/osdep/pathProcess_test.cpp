#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "kit/exception/InvalidArgument.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/path.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using namespace qv::kit::osdep::path;
using qv::tests::Exactly;
using qv::tests::TemporaryDirectory;

class CurrentDirectory : public testing::Test {
 protected:
  CurrentDirectory() { std::filesystem::current_path(directory_.path()); }
  ~CurrentDirectory() override { std::filesystem::current_path(before_); }

  const std::filesystem::path before_ = std::filesystem::current_path();
  const TemporaryDirectory directory_;
};

TEST_F(CurrentDirectory, IsWhatGetCwdGives) {
  EXPECT_EQ(Exactly(GetCWD()), Exactly(directory_.wide()));
}

TEST_F(CurrentDirectory, MayHaveANameLongerThanAnySingleCallTakes) {
  const std::string component(200, 'd');
  std::string expected = directory_.path();
  for (int level = 0; level < 40; ++level) {
    ASSERT_EQ(::mkdir(component.c_str(), 0700), 0);
    SetCWD(WString(component.c_str()));
    expected += "/" + component;
  }
  EXPECT_EQ(Exactly(GetCWD()), Exactly(WString(expected.c_str())));
}

TEST_F(CurrentDirectory, ThatIsGoneMakesGetCwdThrow) {
  directory_.makeDirectory("gone");
  SetCWD(directory_.wide("gone"));
  std::filesystem::remove(directory_.path("gone"));
  try {
    GetCWD();
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(ENOENT));
  }
}

TEST_F(CurrentDirectory, ThatIsGoneDoesNotKeepAbsPathFromAnAbsolutePath) {
  directory_.makeDirectory("gone");
  SetCWD(directory_.wide("gone"));
  std::filesystem::remove(directory_.path("gone"));
  EXPECT_EQ(Exactly(AbsPath(L"/x")), L"/x");
}

TEST_F(CurrentDirectory, IsChangedBySetCwd) {
  directory_.makeDirectory("a/b");
  SetCWD(directory_.wide("a"));
  EXPECT_EQ(std::filesystem::current_path(), directory_.path("a"));
  SetCWD(L"b");
  EXPECT_EQ(std::filesystem::current_path(), directory_.path("a/b"));
}

TEST_F(CurrentDirectory, StaysWhenSetCwdFails) {
  try {
    SetCWD(directory_.wide("missing"));
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(error.getErrorCode(), 7);
  }
  EXPECT_EQ(std::filesystem::current_path(), directory_.path());
}

TEST_F(CurrentDirectory, IsNotSetToANameCutAtANullCharacter) {
  directory_.makeDirectory("a");
  EXPECT_THROW(SetCWD(WString(L"a\0b", 3)), exception::InvalidArgument);
  EXPECT_EQ(std::filesystem::current_path(), directory_.path());
}

TEST_F(CurrentDirectory, IsAbsPathOfASingleDot) {
  EXPECT_EQ(Exactly(AbsPath(L".")), Exactly(directory_.wide()));
}

TEST_F(CurrentDirectory, IsPutBeforeARelativePath) {
  EXPECT_EQ(Exactly(AbsPath(L"a/B")), Exactly(directory_.wide("a/B")));
  EXPECT_EQ(Exactly(AbsPath(L"./a")), Exactly(directory_.wide("./a")));
  EXPECT_EQ(Exactly(AbsPath(L"..")), Exactly(directory_.wide("..")));
  EXPECT_EQ(Exactly(AbsPath(WString())), Exactly(directory_.wide("")));
}

TEST_F(CurrentDirectory, DoesNotChangeAnAbsolutePath) {
  EXPECT_EQ(Exactly(AbsPath(L"/a/../b")), L"/a/../b");
}

TEST(TempDirName, IsVarTmpWithItsSlashWithoutTmpdir) {
  ::unsetenv("TMPDIR");
  EXPECT_EQ(Exactly(TempDirName()), L"/var/tmp/");
}

TEST(TempDirName, IsTmpdirAsItStandsWhenItIsSet) {
  for (const char* value : {"/somewhere", "relative/", ""}) {
    ::setenv("TMPDIR", value, 1);
    EXPECT_EQ(Exactly(TempDirName()), Exactly(WString(value)));
  }
}

}  // namespace
