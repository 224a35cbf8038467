#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "kit/exception/AccessDenied.h"
#include "kit/exception/InvalidArgument.h"
#include "kit/exception/ObjectAlreadyExists.h"
#include "kit/osdep/path.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep::path;
using qv::tests::TemporaryDirectory;

/// Sets the process's umask for a scope.
class Umask {
 public:
  explicit Umask(mode_t mask) : before_(::umask(mask)) {}
  Umask(const Umask&) = delete;
  Umask& operator=(const Umask&) = delete;
  ~Umask() { ::umask(before_); }

 private:
  mode_t before_;
};

TEST(CreateDir, TakesTheComponentAfterTheLastSlashForAFileNameAndLeavesIt) {
  const TemporaryDirectory directory;
  CreateDir(directory.wide("a/b/c"));
  EXPECT_TRUE(IsDirectory(directory.wide("a/b")));
  EXPECT_FALSE(directory.has("a/b/c"));
}

TEST(CreateDir, CreatesEveryDirectoryOfAPathThatEndsInASlash) {
  const TemporaryDirectory directory;
  CreateDir(directory.wide("a/b/c/"));
  EXPECT_TRUE(IsDirectory(directory.wide("a/b/c")));
}

TEST(CreateDir, TakesTextWithAPointerToo) {
  const TemporaryDirectory directory;
  CreateDir(directory.wide("a/").c_str());
  EXPECT_TRUE(IsDirectory(directory.wide("a")));
}

TEST(CreateDir, KeepsDirectoriesThatAreThere) {
  const TemporaryDirectory directory;
  directory.makeDirectory("a");
  directory.write("a/file", "kept");
  CreateDir(directory.wide("a/b/"));
  CreateDir(directory.wide("a/b/"));
  EXPECT_EQ(directory.read("a/file"), "kept");
  EXPECT_TRUE(IsDirectory(directory.wide("a/b")));
}

TEST(CreateDir, GoesThroughASymbolicLinkToADirectory) {
  const TemporaryDirectory directory;
  directory.makeDirectory("real");
  directory.makeLink("real", "link");
  CreateDir(directory.wide("link/a/"));
  EXPECT_TRUE(IsDirectory(directory.wide("real/a")));
}

TEST(CreateDir, TakesSeveralSlashesForOne) {
  const TemporaryDirectory directory;
  CreateDir(WString(L"/") + directory.wide("a//b///"));
  EXPECT_TRUE(IsDirectory(directory.wide("a/b")));
}

TEST(CreateDir, LetsTheFirstSlashStandForTheRootWhichExists) {
  EXPECT_NO_THROW(CreateDir(L"/"));
  EXPECT_NO_THROW(CreateDir(L"//"));
  EXPECT_NO_THROW(CreateDir(L"/a-name-that-is-taken-for-a-file"));
  EXPECT_FALSE(IsDirectory(L"/a-name-that-is-taken-for-a-file"));
}

TEST(CreateDir, RefusesAPathThatIsRelativeEmptyOrNull) {
  EXPECT_THROW(CreateDir(L"a/"), exception::InvalidArgument);
  EXPECT_THROW(CreateDir(WString()), exception::InvalidArgument);
  EXPECT_THROW(CreateDir(static_cast<const wchar_t*>(nullptr)), exception::InvalidArgument);
  EXPECT_THROW(CreateDir(nullptr), exception::InvalidArgument);
}

TEST(CreateDir, CreatesNothingForAPathWithANullCharacter) {
  const TemporaryDirectory directory;
  WString path = directory.wide("a/");
  path += L'\0';
  path += L"b/";
  EXPECT_THROW(CreateDir(path), exception::InvalidArgument);
  EXPECT_FALSE(directory.has("a"));
}

TEST(CreateDir, ThrowsObjectAlreadyExistsWhereAFileIsInTheWay) {
  const TemporaryDirectory directory;
  directory.write("x", "kept");
  EXPECT_THROW(CreateDir(directory.wide("x/y")), exception::ObjectAlreadyExists);
  EXPECT_THROW(CreateDir(directory.wide("x/y/z")), exception::ObjectAlreadyExists);
  EXPECT_THROW(CreateDir(directory.wide("x/")), exception::ObjectAlreadyExists);
  EXPECT_EQ(directory.read("x"), "kept");
}

TEST(CreateDir, ThrowsObjectAlreadyExistsWhereALinkLeadsNowhere) {
  const TemporaryDirectory directory;
  directory.makeLink("missing", "dangling");
  EXPECT_THROW(CreateDir(directory.wide("dangling/a/")), exception::ObjectAlreadyExists);
  EXPECT_THROW(CreateDir(directory.wide("dangling/")), exception::ObjectAlreadyExists);
  EXPECT_FALSE(directory.has("missing"));
}

TEST(CreateDir, NamesTheDirectoryThatCannotBeCreatedAsAccessDenied) {
  const TemporaryDirectory directory;
  const std::string tooLong(300, 'n');
  try {
    CreateDir(directory.wide("a/" + tooLong + "/b/"));
    FAIL();
  } catch (const exception::AccessDenied& denied) {
    EXPECT_EQ(denied.what(), "Access denied: " + directory.path("a/" + tooLong));
    EXPECT_EQ(denied.getErrorCode(), -1967362023);
  }
  EXPECT_TRUE(IsDirectory(directory.wide("a"))) << "what was created before stays";
}

TEST(CreateDir, NamesTheLastDirectoryWithItsSlash) {
  const TemporaryDirectory directory;
  const std::string tooLong(300, 'n');
  try {
    CreateDir(directory.wide(tooLong + "/file"));
    FAIL();
  } catch (const exception::AccessDenied& denied) {
    EXPECT_EQ(denied.what(), "Access denied: " + directory.path(tooLong + "/"));
  }
}

TEST(CreateDir, GivesTheOwnerAloneEveryPermission) {
  const TemporaryDirectory directory;
  for (const mode_t mask : {0000U, 0022U, 0077U}) {
    const std::string name = "mask" + std::to_string(mask);
    const Umask umask(mask);
    CreateDir(directory.wide(name + "/below/"));
    EXPECT_EQ(directory.permissions(name), 0700U);
    EXPECT_EQ(directory.permissions(name + "/below"), 0700U);
  }
}

}  // namespace
