#include "qvini/outputFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "qvini/qvini.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TemporaryDirectory;
using qv::tests::TestDocument;

constexpr unsigned kInPlace = 8;
constexpr unsigned kNamed = 8 | 2;
constexpr unsigned kUnique = 8 | 2 | 4;

const std::string kNewContents = "[s]\nk = v\n\n";

class OutputFile : public testing::Test {
 protected:
  OutputFile() { ::umask(022); }

  int write(const std::string& path, unsigned flags) const {
    document_->writeFlags = flags;
    return IniWriteToFile(document_, path.c_str());
  }

  // The names of all that is in the directory.
  std::set<std::string> names(const std::string& below = "") const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path(below)))
      names.insert(entry.path().filename());
    return names;
  }

  ino_t inode(const std::string& name) const {
    struct stat entry {};
    EXPECT_EQ(::stat(directory_.path(name).c_str(), &entry), 0);
    return entry.st_ino;
  }

  void setPermissions(const std::string& name, mode_t mode) const {
    ASSERT_EQ(::chmod(directory_.path(name).c_str(), mode), 0);
  }

  const TemporaryDirectory directory_;
  const TestDocument document_{{"[s]", "k = v"}};
};

TEST_F(OutputFile, HoldsTheNewContentsAloneInTheEnd) {
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    directory_.write("old.ini", "much longer old contents");
    EXPECT_EQ(write(directory_.path("old.ini"), flags), 0);
    EXPECT_EQ(directory_.read("old.ini"), kNewContents);
    EXPECT_EQ(write(directory_.path("new.ini"), flags), 0);
    EXPECT_EQ(directory_.read("new.ini"), kNewContents);
    EXPECT_EQ(names(), (std::set<std::string>{"old.ini", "new.ini"}));
    ::unlink(directory_.path("new.ini").c_str());
  }
}

TEST_F(OutputFile, IsAnotherFileAfterASafeWriteAndTheSameAfterAnother) {
  directory_.write("file");
  const ino_t first = inode("file");
  ASSERT_EQ(write(directory_.path("file"), kInPlace), 0);
  EXPECT_EQ(inode("file"), first);
  const int held = ::link(directory_.path("file").c_str(), directory_.path("held").c_str());
  ASSERT_EQ(held, 0) << "keeps the number from being used again";
  ASSERT_EQ(write(directory_.path("file"), kUnique), 0);
  EXPECT_NE(inode("file"), first);
}

TEST_F(OutputFile, KeepsItsPermissions) {
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    for (const mode_t mode : {0600U, 0640U, 0666U, 0755U, 02640U, 01644U}) {
      directory_.write("file");
      setPermissions("file", mode);
      EXPECT_EQ(write(directory_.path("file"), flags), 0);
      EXPECT_EQ(directory_.permissions("file"), mode) << flags;
    }
  }
}

TEST_F(OutputFile, ThatIsNewIsReadableForAllAfterAUniqueNameWhateverTheUmask) {
  for (const mode_t mask : {0U, 022U, 077U}) {
    ::umask(mask);
    EXPECT_EQ(write(directory_.path("file"), kUnique), 0);
    EXPECT_EQ(directory_.permissions("file"), 0644U);
    ::unlink(directory_.path("file").c_str());
  }
}

TEST_F(OutputFile, ThatIsNewGetsWhatTheUmaskLeavesOtherwise) {
  for (const unsigned flags : {kInPlace, kNamed}) {
    ::umask(027);
    EXPECT_EQ(write(directory_.path("file"), flags), 0);
    EXPECT_EQ(directory_.permissions("file"), 0640U);
    ::unlink(directory_.path("file").c_str());
  }
}

TEST_F(OutputFile, TakesTheNameWithExtensionTmpMeanwhile) {
  directory_.write("file.TMP", "left behind");
  EXPECT_EQ(write(directory_.path("file.ini"), kNamed), 0);
  EXPECT_EQ(names(), (std::set<std::string>{"file.ini"}));
  EXPECT_EQ(directory_.read("file.ini"), kNewContents);
  EXPECT_EQ(write(directory_.path("file.TMP"), kNamed), 0);
  EXPECT_EQ(names(), (std::set<std::string>{"file.ini", "file.TMP"}));
}

TEST_F(OutputFile, IsNotWrittenThroughALinkThatHasTheTemporaryName) {
  directory_.write("precious", "precious");
  directory_.makeLink("precious", "file.TMP");
  EXPECT_EQ(write(directory_.path("file.ini"), kNamed), 0);
  EXPECT_EQ(directory_.read("precious"), "precious");
  EXPECT_EQ(directory_.read("file.ini"), kNewContents);
  EXPECT_EQ(names(), (std::set<std::string>{"file.ini", "precious"}));
}

TEST_F(OutputFile, CannotBeOpenedWhereADirectoryHasTheTemporaryName) {
  directory_.makeDirectory("file.TMP");
  directory_.write("file.ini", "old");
  EXPECT_EQ(write(directory_.path("file.ini"), kNamed), -5004);
  EXPECT_EQ(directory_.read("file.ini"), "old");
  EXPECT_EQ(names(), (std::set<std::string>{"file.TMP", "file.ini"}));
}

TEST_F(OutputFile, MayLieInTheCurrentDirectory) {
  ASSERT_EQ(::chdir(directory_.path().c_str()), 0);
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    EXPECT_EQ(write("file", flags), 0);
    EXPECT_EQ(directory_.read("file"), kNewContents);
    EXPECT_EQ(names(), (std::set<std::string>{"file"}));
    ::unlink("file");
  }
}

TEST_F(OutputFile, MayHavePointsAndTemplateCharactersInItsPath) {
  for (const char* name : {"a.b", "XXXXXX", "%s%n", "ini$$.TMPXXXXXX"}) {
    directory_.makeDirectory(name);
    for (const char* file : {"no extension", "x.y.z", "XXXXXX", "%d", ".hidden"}) {
      const std::string path = std::string(name) + "/" + file;
      for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
        EXPECT_EQ(write(directory_.path(path), flags), 0) << path;
        EXPECT_EQ(directory_.read(path), kNewContents);
        EXPECT_EQ(names(name), (std::set<std::string>{file}));
        ::unlink(directory_.path(path).c_str());
      }
    }
  }
}

TEST_F(OutputFile, BehindALinkIsReplacedAndTheLinkStays) {
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    directory_.makeDirectory("sub");
    directory_.write("sub/file", "old");
    setPermissions("sub/file", 0640);
    directory_.makeLink("sub/link", "link");
    directory_.makeLink("file", "sub/link");
    EXPECT_EQ(write(directory_.path("link"), flags), 0);
    EXPECT_EQ(std::filesystem::read_symlink(directory_.path("link")), "sub/link");
    EXPECT_EQ(std::filesystem::read_symlink(directory_.path("sub/link")), "file");
    EXPECT_EQ(directory_.read("sub/file"), kNewContents);
    EXPECT_EQ(directory_.permissions("sub/file"), 0640U);
    EXPECT_EQ(names(), (std::set<std::string>{"link", "sub"}));
    EXPECT_EQ(names("sub"), (std::set<std::string>{"file", "link"}));
    EXPECT_EQ(document_->path, directory_.path("link"));
    std::filesystem::remove_all(directory_.path("sub"));
    std::filesystem::remove(directory_.path("link"));
  }
}

TEST_F(OutputFile, BehindALinkToNothingIsCreated) {
  for (const unsigned flags : {kInPlace, kNamed, kUnique}) {
    directory_.makeLink("file", "link");
    EXPECT_EQ(write(directory_.path("link"), flags), 0);
    EXPECT_EQ(directory_.read("file"), kNewContents);
    EXPECT_EQ(names(), (std::set<std::string>{"link", "file"}));
    ::unlink(directory_.path("link").c_str());
    ::unlink(directory_.path("file").c_str());
  }
}

TEST_F(OutputFile, CannotBeALinkInACircleNorOneThatLeadsNowhere) {
  directory_.makeLink("circle", "circle");
  directory_.makeLink("missing/file", "nowhere");
  for (const char* name : {"circle", "nowhere"}) {
    EXPECT_EQ(write(directory_.path(name), kInPlace), -5004);
    EXPECT_EQ(write(directory_.path(name), kNamed), -13);
    EXPECT_EQ(write(directory_.path(name), kUnique), -13);
  }
  EXPECT_EQ(names(), (std::set<std::string>{"circle", "nowhere"}));
}

TEST_F(OutputFile, CannotBeADirectoryNorLieInAMissingOne) {
  directory_.makeDirectory("sub");
  for (const char* name : {"sub", "sub/", "missing/file", "missing/", "."}) {
    EXPECT_EQ(write(directory_.path(name), kInPlace), -5004) << name;
    EXPECT_EQ(write(directory_.path(name), kNamed), -13) << name;
    EXPECT_EQ(write(directory_.path(name), kUnique), -13) << name;
  }
  EXPECT_EQ(names(), (std::set<std::string>{"sub"}));
  EXPECT_EQ(names("sub"), (std::set<std::string>{}));
}

// A pipe stands for all that is no file: were it a device of the system's, a writer that fails this
// test would replace it.
TEST_F(OutputFile, IsNeverAPipeOrDeviceThatASafeWriteWouldReplace) {
  ASSERT_EQ(::mkfifo(directory_.path("pipe").c_str(), 0600), 0);
  directory_.makeLink("pipe", "link");
  for (const unsigned flags : {kNamed, kUnique}) {
    EXPECT_EQ(write(directory_.path("pipe"), flags), -13);
    EXPECT_EQ(write(directory_.path("link"), flags), -13);
  }
  EXPECT_TRUE(std::filesystem::is_fifo(directory_.path("pipe")));
  EXPECT_EQ(names(), (std::set<std::string>{"link", "pipe"}));
}

TEST_F(OutputFile, MayBeADeviceWhenItIsWrittenInPlace) {
  EXPECT_EQ(write("/dev/null", kInPlace), 0);
}

TEST_F(OutputFile, OnAFullDeviceFailsTheFlush) {
  EXPECT_EQ(write("/dev/full", kInPlace), -28);
}

TEST_F(OutputFile, KeepsItsOldContentsWhenAnEntryCannotBeWrapped) {
  directory_.write("file", "old");
  document_->maxLineLength = 1;
  for (const unsigned flags : {kNamed, kUnique}) {
    EXPECT_EQ(write(directory_.path("file"), flags), -2);
    EXPECT_EQ(directory_.read("file"), "old");
    EXPECT_EQ(write(directory_.path("missing"), flags), -2);
    EXPECT_EQ(names(), (std::set<std::string>{"file"}));
  }
}

TEST_F(OutputFile, WithTheLongestNameHasNoRoomForAnExtension) {
  const std::string name(255, 'n');
  EXPECT_EQ(write(directory_.path(name), kUnique), 0);
  EXPECT_EQ(directory_.read(name), kNewContents);
  EXPECT_EQ(write(directory_.path(name), kNamed), -5004);
  EXPECT_EQ(names(), (std::set<std::string>{name}));
  EXPECT_EQ(write(directory_.path(name + "n"), kUnique), -13);
}

}  // namespace
