#include <gtest/gtest.h>
#include <pthread.h>

#include <string>

#include "kit/exception/AccessDenied.h"
#include "kit/exception/InvalidArgument.h"
#include "kit/exception/NonexistentException.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/path.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/kit/osdep/WithNull.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using namespace qv::kit::osdep::path;
using qv::tests::TemporaryDirectory;
using qv::tests::WithNull;

TEST(RemoveFile, RemovesAFile) {
  const TemporaryDirectory directory;
  directory.write("file");
  RemoveFile(directory.wide("file"));
  EXPECT_FALSE(directory.has("file"));
}

TEST(RemoveFile, RemovesALinkAndNotWhatItLeadsTo) {
  const TemporaryDirectory directory;
  directory.write("file");
  directory.makeLink("file", "link");
  RemoveFile(directory.wide("link"));
  EXPECT_FALSE(directory.has("link"));
  EXPECT_TRUE(directory.has("file"));
}

TEST(RemoveFile, ThrowsPosixErrorWhenThereIsNone) {
  const TemporaryDirectory directory;
  try {
    RemoveFile(directory.wide("missing"));
    FAIL();
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(error.getErrorCode(), 7);
  }
}

TEST(RemoveFile, ThrowsPosixErrorForADirectoryAndLeavesIt) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d");
  EXPECT_THROW(RemoveFile(directory.wide("d")), PosixError);
  EXPECT_TRUE(directory.has("d"));
}

TEST(RemoveFile, RefusesARelativePath) {
  EXPECT_THROW(RemoveFile(L"file"), exception::InvalidArgument);
}

TEST(RemoveFile, RefusesANameWithANullCharacterAndRemovesNothing) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_THROW(RemoveFile(WithNull(directory.wide("file"))), exception::InvalidArgument);
  EXPECT_TRUE(directory.has("file"));
}

TEST(RemoveDir, RemovesAnEmptyDirectory) {
  const TemporaryDirectory directory;
  directory.makeDirectory("a");
  directory.makeDirectory("b");
  RemoveDir(directory.wide("a"));
  RemoveDir(directory.wide("b/"));
  EXPECT_FALSE(directory.has("a"));
  EXPECT_FALSE(directory.has("b"));
}

TEST(RemoveDir, ThrowsAccessDeniedNamingADirectoryThatIsNotEmpty) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d/below");
  try {
    RemoveDir(directory.wide("d"));
    FAIL();
  } catch (const exception::AccessDenied& denied) {
    EXPECT_EQ(denied.what(), "Access denied: " + directory.path("d"));
  }
  EXPECT_TRUE(directory.has("d/below"));
}

TEST(RemoveDir, RemovesALinkToADirectoryAndNotTheDirectory) {
  const TemporaryDirectory directory;
  directory.makeDirectory("real");
  directory.makeLink("real", "a");
  directory.makeLink("real", "b");
  RemoveDir(directory.wide("a"));
  RemoveDir(directory.wide("b/"));
  EXPECT_FALSE(directory.has("a"));
  EXPECT_FALSE(directory.has("b"));
  EXPECT_TRUE(directory.has("real"));
}

TEST(RemoveDir, ThrowsNonexistentExceptionForAnythingButADirectory) {
  const TemporaryDirectory directory;
  directory.write("file");
  directory.makeLink("file", "link");
  EXPECT_THROW(RemoveDir(directory.wide("missing")), exception::NonexistentException);
  EXPECT_THROW(RemoveDir(directory.wide("file")), exception::NonexistentException);
  EXPECT_THROW(RemoveDir(directory.wide("link")), exception::NonexistentException);
  EXPECT_THROW(RemoveDir(L"relative"), exception::NonexistentException);
  EXPECT_THROW(RemoveDir(WithNull(directory.wide())), exception::NonexistentException);
  EXPECT_TRUE(directory.has("file"));
  EXPECT_TRUE(directory.has("link"));
}

TEST(RemoveDirForce, RemovesADirectoryWithAllItHolds) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d/a/b/c");
  directory.makeDirectory("d/empty");
  directory.write("d/file");
  directory.write("d/a/file");
  directory.write("d/a/b/c/file");
  RemoveDirForce(directory.wide("d"));
  EXPECT_FALSE(directory.has("d"));
}

TEST(RemoveDirForce, TakesAPathThatEndsInASlash) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d/a");
  RemoveDirForce(directory.wide("d/"));
  EXPECT_FALSE(directory.has("d"));
}

TEST(RemoveDirForce, LeavesNamesThatBeginWithADotAndThenTheDirectoryItself) {
  const TemporaryDirectory directory;
  directory.makeDirectory("d");
  directory.write("d/.hidden", "kept");
  directory.write("d/file");
  try {
    RemoveDirForce(directory.wide("d"));
    FAIL();
  } catch (const exception::AccessDenied& denied) {
    EXPECT_EQ(denied.what(), "Access denied: " + directory.path("d"));
  }
  EXPECT_EQ(directory.read("d/.hidden"), "kept");
  EXPECT_FALSE(directory.has("d/file"));
}

TEST(RemoveDirForce, RemovesLinksAndNothingBehindThem) {
  const TemporaryDirectory directory;
  directory.makeDirectory("outside");
  directory.write("outside/file", "kept");
  directory.makeDirectory("d/below");
  directory.makeLink("../outside", "d/toDirectory");
  directory.makeLink("../outside/file", "d/toFile");
  directory.makeLink("nowhere", "d/dangling");
  directory.makeLink("..", "d/below/up");
  RemoveDirForce(directory.wide("d"));
  EXPECT_FALSE(directory.has("d"));
  EXPECT_EQ(directory.read("outside/file"), "kept");
}

TEST(RemoveDirForce, UnlinksALinkToADirectoryAndTouchesNothingBelow) {
  const TemporaryDirectory directory;
  directory.makeDirectory("outside");
  directory.write("outside/file", "kept");
  directory.makeLink("outside", "link");
  RemoveDirForce(directory.wide("link"));
  EXPECT_FALSE(directory.has("link"));
  EXPECT_EQ(directory.read("outside/file"), "kept");
}

TEST(RemoveDirForce, FollowsNoLinkForItsTrailingSlashEither) {
  const TemporaryDirectory directory;
  directory.makeDirectory("outside");
  directory.write("outside/file", "kept");
  directory.makeLink("outside", "link");
  RemoveDirForce(directory.wide("link//"));
  EXPECT_FALSE(directory.has("link"));
  EXPECT_EQ(directory.read("outside/file"), "kept");
}

TEST(RemoveDirForce, TakesPatternCharactersInTheDirectorysNameForThemselves) {
  for (const std::string name : {"a[b]", "a*", "a?", "a\\*", "[!x]", "a[", "a\\"}) {
    const TemporaryDirectory directory;
    for (const std::string bystander : {"ab", "a*b", "ax", "y", "a[b]x"}) {
      directory.makeDirectory(bystander);
      directory.write(bystander + "/file", "kept");
    }
    directory.makeDirectory(name + "/below");
    directory.write(name + "/below/file");
    directory.write(name + "/file");
    RemoveDirForce(directory.wide(name));
    EXPECT_FALSE(directory.has(name)) << name;
    for (const std::string bystander : {"ab", "a*b", "ax", "y", "a[b]x"}) {
      EXPECT_EQ(directory.read(bystander + "/file"), "kept") << name;
    }
  }
}

TEST(RemoveDirForce, TakesPatternCharactersInNamesBelowForThemselves) {
  const TemporaryDirectory directory;
  for (const std::string name : {"a[b]", "*", "?", "\\", "x\\y"}) {
    directory.makeDirectory("d/" + name);
    directory.write("d/" + name + "/[f]*?");
  }
  RemoveDirForce(directory.wide("d"));
  EXPECT_FALSE(directory.has("d"));
}

TEST(RemoveDirForce, RefusesARelativePath) {
  EXPECT_THROW(RemoveDirForce(L"relative"), exception::InvalidArgument);
  EXPECT_THROW(RemoveDirForce(WString()), exception::InvalidArgument);
}

TEST(RemoveDirForce, RefusesANameWithANullCharacterAndRemovesNothing) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_THROW(RemoveDirForce(WithNull(directory.wide())), exception::InvalidArgument);
  EXPECT_TRUE(directory.has("file"));
}

TEST(RemoveDirForce, ThrowsNonexistentExceptionForAnythingButADirectory) {
  const TemporaryDirectory directory;
  directory.write("file");
  EXPECT_THROW(RemoveDirForce(directory.wide("missing")), exception::NonexistentException);
  EXPECT_THROW(RemoveDirForce(directory.wide("file")), exception::NonexistentException);
  EXPECT_TRUE(directory.has("file"));
}

TEST(RemoveDirForce, NeedsLittleStackForEachLevelOfADeepTree) {
  const TemporaryDirectory directory;
  WString deep = directory.wide("d/");
  for (int level = 0; level < 500; ++level)
    deep += L"x/";
  CreateDir(deep);

  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1024 * 1024), 0);
  WString top = directory.wide("d");
  pthread_t thread;
  const auto remove = [](void* path) -> void* {
    RemoveDirForce(*static_cast<const WString*>(path));
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, remove, &top), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_FALSE(directory.has("d"));
}

}  // namespace
