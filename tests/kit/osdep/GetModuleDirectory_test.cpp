#include "kit/osdep/GetModuleDirectory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "kit/osdep/DirectoryOf.h"
#include "kit/osdep/GetExePath.h"
#include "kit/osdep/SharedLibrary.h"
#include "tests/doubles/Plugins.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::WString;
using qv::kit::osdep::DirectoryOf;
using qv::kit::osdep::GetExeDirectory;
using qv::kit::osdep::GetExePath;
using qv::kit::osdep::GetModuleDirectory;
using qv::kit::osdep::SharedLibrary;
using qv::tests::Exactly;
using qv::tests::PluginFile;
using qv::tests::TemporaryDirectory;

void* const kAnyAddress = reinterpret_cast<void*>(std::intptr_t{-1});

std::wstring ExecutableAsTheSystemHasIt() {
  return std::filesystem::read_symlink("/proc/self/exe").wstring();
}

TEST(GetExePath, GivesTheRunningExecutable) {
  EXPECT_EQ(Exactly(GetExePath()), ExecutableAsTheSystemHasIt());
}

TEST(GetExeDirectory, IsAbsoluteAndEndsInASlash) {
  const std::wstring executable = ExecutableAsTheSystemHasIt();
  EXPECT_EQ(Exactly(GetExeDirectory()), executable.substr(0, executable.rfind(L'/') + 1));
}

TEST(GetModuleDirectory, GivesTheDirectoryOfTheExecutableForANullAddress) {
  EXPECT_EQ(Exactly(GetModuleDirectory(nullptr)), Exactly(GetExeDirectory()));
}

TEST(GetModuleDirectory, GivesTheDirectoryOfTheProgramThatItIsLinkedInto) {
  const WString directory = GetModuleDirectory(kAnyAddress);
  EXPECT_TRUE(std::filesystem::equivalent(Exactly(directory), Exactly(GetExeDirectory())));
  EXPECT_EQ(directory[0], L'/');
  EXPECT_EQ(directory[directory.length() - 1], L'/');
}

/// GetModuleDirectory as a library in a directory of its own has it.
class Whereabouts : public testing::Test {
 protected:
  using Function = const wchar_t* (*)(void*);

  Whereabouts() {
    std::filesystem::copy_file(PluginFile("qv_whereabouts"), directory_.path("where.dylib"));
  }

  std::wstring ask(const WString& library, void* address) {
    library_.load(library);
    return reinterpret_cast<Function>(library_.getFunctionPointer("qv_whereabouts", false))(
        address);
  }

  const TemporaryDirectory directory_;
  SharedLibrary library_;
};

TEST_F(Whereabouts, GivesTheDirectoryOfTheLibraryThatItIsLinkedInto) {
  EXPECT_EQ(ask(directory_.wide("where.dylib"), kAnyAddress), Exactly(directory_.wide()) + L"/");
}

TEST_F(Whereabouts, LooksAtNoAddressButNull) {
  static int outside;
  EXPECT_EQ(ask(directory_.wide("where.dylib"), &outside), Exactly(directory_.wide()) + L"/");
}

TEST_F(Whereabouts, GivesTheDirectoryOfTheExecutableForANullAddressInALibraryToo) {
  EXPECT_EQ(ask(directory_.wide("where.dylib"), nullptr), Exactly(GetExeDirectory()));
}

TEST_F(Whereabouts, MakesTheDirectoryOfALibraryLoadedByARelativePathAbsolute) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory_.path());
  const std::wstring found = ask(L"./where.dylib", kAnyAddress);
  std::filesystem::current_path(before);
  EXPECT_TRUE(std::filesystem::equivalent(found, directory_.path()));
  EXPECT_EQ(found.front(), L'/');
  EXPECT_EQ(found.back(), L'/');
}

TEST_F(Whereabouts, SeesALibraryLoadedByARelativePathFromTheDirectoryOfTheMoment) {
  const std::filesystem::path before = std::filesystem::current_path();
  const TemporaryDirectory other;
  std::filesystem::current_path(directory_.path());
  library_.load(L"./where.dylib");
  std::filesystem::current_path(other.path());
  const std::wstring found =
      reinterpret_cast<Function>(library_.getFunctionPointer("qv_whereabouts", false))(kAnyAddress);
  std::filesystem::current_path(before);
  EXPECT_TRUE(std::filesystem::equivalent(found, other.path()));
}

TEST(DirectoryOf, IsAbsoluteAndEndsInASlash) {
  EXPECT_EQ(Exactly(DirectoryOf(L"/a/b/c.dylib")), L"/a/b/");
  EXPECT_EQ(Exactly(DirectoryOf(L"/c.dylib")), L"/");
}

TEST(DirectoryOf, OfARelativeFileIsSeenFromTheCurrentDirectory) {
  const std::wstring here = std::filesystem::current_path().wstring();
  EXPECT_EQ(Exactly(DirectoryOf(L"dir/c.dylib")), here + L"/dir/");
  EXPECT_EQ(Exactly(DirectoryOf(L"c.dylib")), here + L"/");
  EXPECT_EQ(Exactly(DirectoryOf(L"")), here + L"/");
}

}  // namespace
