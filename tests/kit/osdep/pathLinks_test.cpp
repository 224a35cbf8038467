#include <gtest/gtest.h>
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

TEST(CreateSymLink, CreatesALinkThatHoldsTheTargetAsGiven) {
  const TemporaryDirectory directory;
  CreateSymLink(L"../some/./where", directory.wide("link"));
  EXPECT_EQ(std::filesystem::read_symlink(directory.path("link")), "../some/./where");
}

TEST(CreateSymLink, ThrowsPosixErrorWhenTheNameIsTaken) {
  const TemporaryDirectory directory;
  directory.write("file", "kept");
  try {
    CreateSymLink(L"target", directory.wide("file"));
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EEXIST));
  }
  EXPECT_EQ(directory.read("file"), "kept");
}

TEST(CreateSymLink, RefusesNullCharactersInBothTexts) {
  const TemporaryDirectory directory;
  const WString null(L"a\0b", 3);
  EXPECT_THROW(CreateSymLink(null, directory.wide("link")), exception::InvalidArgument);
  EXPECT_THROW(CreateSymLink(L"a", Join(directory.wide(), null)), exception::InvalidArgument);
  EXPECT_FALSE(directory.has("link"));
  EXPECT_FALSE(directory.has("a"));
}

TEST(ResolveSymLink, GivesTheTextOfTheLink) {
  const TemporaryDirectory directory;
  directory.makeLink("Some/./where", "link");
  EXPECT_EQ(Exactly(ResolveSymLink(directory.wide("link"))), L"Some/./where");
}

TEST(ResolveSymLink, TakesOneStepOnly) {
  const TemporaryDirectory directory;
  directory.makeLink("b", "a");
  directory.makeLink("c", "b");
  EXPECT_EQ(Exactly(ResolveSymLink(directory.wide("a"))), L"b");
}

TEST(ResolveSymLink, TakesTheLongestLinkThereCanBe) {
  const TemporaryDirectory directory;
  std::string target;
  while (target.length() < 4095)
    target += target.length() % 100 == 99 ? '/' : 't';
  directory.makeLink(target, "link");
  EXPECT_EQ(Exactly(ResolveSymLink(directory.wide("link"))), Exactly(WString(target.c_str())));
}

TEST(ResolveSymLink, ReadsALinkThatStatesALengthOfZero) {
  char expected[4096] = {};
  ASSERT_GT(::readlink("/proc/self/exe", expected, sizeof(expected) - 1), 0);
  EXPECT_EQ(Exactly(ResolveSymLink(L"/proc/self/exe")), Exactly(WString(expected)));
}

TEST(ResolveSymLink, ThrowsPosixErrorForAnythingButALink) {
  const TemporaryDirectory directory;
  directory.write("file");
  try {
    ResolveSymLink(directory.wide("file"));
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EINVAL));
  }
  try {
    ResolveSymLink(directory.wide("missing"));
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(ENOENT));
  }
}

TEST(ResolveSymLink, IsNotImpressedByTheLengthOfAFileThatIsNoLink) {
  const TemporaryDirectory directory;
  directory.write("file");
  constexpr off_t kTerabyte = off_t{1} << 40;
  ASSERT_EQ(::truncate(directory.path("file").c_str(), kTerabyte), 0);
  try {
    ResolveSymLink(directory.wide("file"));
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EINVAL));
  }
}

TEST(ResolveSymLink, RefusesANameWithANullCharacter) {
  EXPECT_THROW(ResolveSymLink(WString(L"/proc/self\0/exe", 15)), exception::InvalidArgument);
}

}  // namespace
