#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "source/client/MyTraceLogger.h"
#include "source/client/OpenTagFile.h"
#include "tests/ScopedLocale.h"
#include "tests/doubles/MyTraceLoggerProbe.h"
#include "tests/doubles/engine/EngineDouble.h"

// The module's tag file and the table that it becomes.

namespace qv::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using traceengine::MyTraceLogger;
using traceengine::TraceTag;
using Probe = traceengine::MyTraceLoggerProbe;

/// Every tag of a table: "5 Certificate yes".
std::vector<std::string> Tags(const MyTraceLogger& logger) {
  std::vector<std::string> tags;
  for (int id = 0; id < 256; ++id) {
    const TraceTag* tag = Probe::tag(logger, id);
    if (tag == nullptr) continue;
    EXPECT_EQ(tag->id(), id);
    tags.push_back(std::to_string(id) + " " + tag->name() + (tag->enabled() ? " yes" : " no"));
  }
  return tags;
}

struct TagFileTest : testing::Test {
  InstalledEngine installed;
  EngineScript& script = InstalledEngine::script();

  /// The table that a file of these contents gives.
  std::vector<std::string> read(const std::string& contents) {
    installed.writeTags(contents);
    const MyTraceLogger logger("module");
    EXPECT_TRUE(Probe::isInitialized(logger));
    return Tags(logger);
  }
};

TEST_F(TagFileTest, DefinesATagALine) {
  EXPECT_THAT(
      read("RefCount : 1 : yes\nInitializer : 4 : yes\nCertificate : 5 : no\n"
           "CertCreator : 6 : yes\n"),
      ElementsAre("1 RefCount yes", "4 Initializer yes", "5 Certificate no", "6 CertCreator yes"));
}

TEST_F(TagFileTest, IsNotLookedForWhereTheEngineNamesNoDirectory) {
  installed.directory().write("module.cfg", "Name : 5 : yes\n");
  ASSERT_EQ(::chdir(installed.directory().path().c_str()), 0);
  script.hasDirectory = false;
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_THAT(Tags(logger), IsEmpty());
}

TEST_F(TagFileTest, SwitchesOnByTheWholeWordYesAlone) {
  EXPECT_THAT(read("a : 1 : yes\nb : 2 : Yes\nc : 3 : YES\nd : 4 : on\ne : 5 : 1\nf : 6 : yes!\n"
                   "g : 7 : ye\nh : 8 : no\ni : 9\nj : 10 :\n"),
              ElementsAre("1 a yes", "2 b no", "3 c no", "4 d no", "5 e no", "6 f no", "7 g no",
                          "8 h no", "9 i no", "10 j no"));
}

TEST_F(TagFileTest, NeedsABlankBeforeTheFirstColonOnly) {
  EXPECT_THAT(read("Name:1:yes\nName: 2 : yes\n"), IsEmpty());
  EXPECT_THAT(read("Name :1:yes\nName : 3 : yes\n\tName :4\t:\tyes\n"),
              ElementsAre("1 Name yes", "3 Name yes", "4 Name yes"));
}

TEST_F(TagFileTest, IgnoresWhatIsNoDefinition) {
  EXPECT_THAT(read("\n   \n# comment\nfree text without colons\n: 5 : yes\nName : five : yes\n"
                   "Name\nName :\n=====\n"),
              IsEmpty());
}

TEST_F(TagFileTest, IgnoresIdsOutsideTheTable) {
  EXPECT_THAT(read("a : 300 : yes\nb : -1 : yes\nc : 256 : yes\nd : 2147483647 : yes\n"
                   "e : -2147483648\n"),
              IsEmpty());
}

TEST_F(TagFileTest, HasRoomForTheFirstIdAndTheLast) {
  EXPECT_THAT(read("a : 0 : yes\nb : 255 : yes\n"), ElementsAre("0 a yes", "255 b yes"));
}

TEST_F(TagFileTest, IgnoresALineWhoseNumberFitsNoInt) {
  EXPECT_THAT(read("a : 4294967301 : yes\nb : 99999999999999999999 : yes\n"
                   "Output_File : 4294967301 : x\n"),
              IsEmpty());
}

TEST_F(TagFileTest, TakesANumberUpToItsLastDigit) {
  EXPECT_THAT(read("Name : 5x\nOther : 6x : yes\n"), ElementsAre("5 Name no", "6 Other no"));
}

TEST_F(TagFileTest, IgnoresWhatFollowsTheValue) {
  EXPECT_THAT(read("Name : 5 : yes : no # why\n"), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, LetsALaterLineReplaceAnEarlierOne) {
  EXPECT_THAT(read("Name : 4 : yes\nName : 4 : no\n"), ElementsAre("4 Name no"));
  EXPECT_THAT(read("Name : 4 : no\nOther : 4 : yes\n"), ElementsAre("4 Other yes"));
}

TEST_F(TagFileTest, LetsAnOutputFileEmptySlotZero) {
  EXPECT_THAT(read("Output_File : 2 : out.log\n"), ElementsAre("0  no"));
  EXPECT_THAT(read("Zero : 0 : yes\nOutput_File : 999 : out.log\n"), ElementsAre("0  no"));
}

TEST_F(TagFileTest, TakesAnOutputFileWithoutValueForATag) {
  EXPECT_THAT(read("Output_File : 5\n"), ElementsAre("5 Output_File no"));
}

TEST_F(TagFileTest, TakesAnotherSpellingOfOutputFileForATag) {
  EXPECT_THAT(read("output_file : 2 : yes\nOutput_Files : 3 : yes\n"),
              ElementsAre("2 output_file yes", "3 Output_Files yes"));
}

TEST_F(TagFileTest, ReadsALineOf2000CharactersIn1022And978) {
  // A definition behind the first 1022 characters stands at the beginning of the second piece.
  const std::string second = "Second : 2 : yes";
  const std::string line = "First : 1 : yes" + std::string(1022 - 15, ' ') + second +
                           std::string(978 - second.size(), ' ');
  ASSERT_EQ(line.size(), 2000u);
  EXPECT_THAT(read(line + "\nThird : 3 : yes\n"),
              ElementsAre("1 First yes", "2 Second yes", "3 Third yes"));
  // One character later its first letter belongs to the first piece.
  EXPECT_THAT(read("First : 1 : yes" + std::string(1021 - 15, ' ') + second + "\n"),
              ElementsAre("1 First yes", "2 econd yes"));
}

TEST_F(TagFileTest, ReadsLinesOfAMegabyteToTheirEnd) {
  EXPECT_THAT(read(std::string(1 << 20, 'x') + "\nName : 5 : yes\n"), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, ReadsALastLineWithoutItsEnd) {
  EXPECT_THAT(read("Name : 5 : yes"), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, ReadsLinesThatEndAsOnOtherSystems) {
  EXPECT_THAT(read("a : 1 : yes\r\nb : 2 : no\r\n"), ElementsAre("1 a yes", "2 b no"));
}

TEST_F(TagFileTest, LetsANullHideTheRestOfItsLine) {
  using namespace std::string_literals;
  EXPECT_THAT(read("a : 1\0 : yes\nb : 2 : yes\n"s), ElementsAre("1 a no", "2 b yes"));
}

TEST_F(TagFileTest, CutsALongNameAsTheScanDoes) {
  EXPECT_THAT(read(std::string(128, 'n') + " : 5 : yes\n"), IsEmpty());
  EXPECT_THAT(read(std::string(127, 'n') + " : 5 : yes\n"),
              ElementsAre("5 " + std::string(127, 'n') + " yes"));
}

TEST_F(TagFileTest, MayHoldDefinitionsOfEveryTag) {
  std::string contents;
  for (int id = 0; id < 256; ++id)
    contents += "T" + std::to_string(id) + " : " + std::to_string(id) + " : yes\n";
  EXPECT_EQ(read(contents + contents).size(), 256u);
}

TEST_F(TagFileTest, BearsTheNameOfTheModule) {
  installed.directory().write("other.cfg", "Name : 5 : yes\n");
  EXPECT_THAT(Tags(MyTraceLogger("module")), IsEmpty());
  EXPECT_THAT(Tags(MyTraceLogger("other")), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, LiesInTheDirectoryOfTheEngineWithOrWithoutASlash) {
  script.configDirectory += L"/";
  EXPECT_THAT(read("Name : 5 : yes\n"), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, IsFoundInADirectoryWithLettersOfTheLocale) {
  ScopedLocale locale("C.UTF-8");
  installed.directory().makeDirectory(
      "tr\xC3\xA4"
      "ce");
  installed.directory().write(
      "tr\xC3\xA4"
      "ce/module.cfg",
      "Name : 5 : yes\n");
  script.configDirectory += L"/tr\u00E4ce";
  EXPECT_THAT(Tags(MyTraceLogger("module")), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, IsNoneWhenItsNameHoldsANull) {
  // What stands before the null is the name of a file that must not be taken for it.
  installed.writeTags("Name : 5 : yes\n");
  script.configDirectory += L"/module.cfg";
  script.configDirectory += L'\0';
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_THAT(Tags(logger), IsEmpty());
}

TEST_F(TagFileTest, MayBeMissing) {
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_THAT(Tags(logger), IsEmpty());
}

TEST_F(TagFileTest, MayBeEmpty) {
  EXPECT_THAT(read(""), IsEmpty());
}

TEST_F(TagFileTest, MayBeADirectory) {
  installed.directory().makeDirectory("module.cfg");
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_THAT(Tags(logger), IsEmpty());
}

TEST_F(TagFileTest, NeverWaitsForTheWriterOfAPipe) {
  ASSERT_EQ(::mkfifo(installed.directory().path("module.cfg").c_str(), 0600), 0);
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_THAT(Tags(logger), IsEmpty());
}

TEST_F(TagFileTest, NeverTakesWhatAPipeHolds) {
  const std::string name = installed.directory().path("module.cfg");
  ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
  const int pipe = ::open(name.c_str(), O_RDWR);
  ASSERT_GE(pipe, 0);
  const std::string line = "Name : 5 : yes\n";
  ASSERT_EQ(::write(pipe, line.c_str(), line.size()), static_cast<ssize_t>(line.size()));
  EXPECT_THAT(Tags(MyTraceLogger("module")), IsEmpty());
  ::close(pipe);
}

TEST_F(TagFileTest, NeverReadsADeviceThatHasNoEnd) {
  installed.directory().makeLink("/dev/zero", "module.cfg");
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_THAT(Tags(logger), IsEmpty());
}

TEST_F(TagFileTest, IsLeftAloneWhenReadingFails) {
  // A regular file by its kind, and no byte can be read at its beginning.
  installed.directory().makeLink("/proc/self/mem", "module.cfg");
  const MyTraceLogger logger("module");
  EXPECT_TRUE(Probe::isInitialized(logger));
  EXPECT_THAT(Tags(logger), IsEmpty());
}

TEST_F(TagFileTest, MayBeALinkToAFile) {
  installed.directory().write("shared.cfg", "Name : 5 : yes\n");
  installed.directory().makeLink("shared.cfg", "module.cfg");
  EXPECT_THAT(Tags(MyTraceLogger("module")), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, IsClosedAgain) {
  const int before = ::dup(0);
  ::close(before);
  EXPECT_THAT(read("Name : 5 : yes\n"), ElementsAre("5 Name yes"));
  installed.directory().makeDirectory("other.cfg");
  EXPECT_THAT(Tags(MyTraceLogger("other")), IsEmpty());
  const int after = ::dup(0);
  EXPECT_EQ(after, before);
  ::close(after);
}

TEST(OpenTagFile, IsNotInheritedByChildrenOfTheHost) {
  const TemporaryDirectory directory;
  directory.write("file");
  const traceengine::TagFile file = traceengine::OpenTagFile(directory.path("file").c_str());
  ASSERT_NE(file, nullptr);
  EXPECT_NE(::fcntl(::fileno(file.get()), F_GETFD) & FD_CLOEXEC, 0);
}

// The two operations by themselves.

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

TEST_F(TagFileTest, ParseNextLineSaysWhenTheEndIsReached) {
  installed.writeTags("");
  MyTraceLogger logger("module");
  installed.directory().write("lines", "Name : 5 : yes\nno tag\nName : 300\n");
  const std::unique_ptr<std::FILE, CloseFile> file(
      std::fopen(installed.directory().path("lines").c_str(), "r"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_THAT(Tags(logger), ElementsAre("5 Name yes"));
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  // Nothing is left, but only reading shows it.
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), -1);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), -1);
  EXPECT_THAT(Tags(logger), ElementsAre("5 Name yes"));
}

/// A file with one line, after which reading fails.
ssize_t ReadOnce(void* cookie, char* buffer, std::size_t /*size*/) {
  auto& line = *static_cast<std::string*>(cookie);
  if (line.empty()) {
    errno = EIO;
    return -1;
  }
  const std::size_t length = line.copy(buffer, line.size());
  line.clear();
  return static_cast<ssize_t>(length);
}

TEST_F(TagFileTest, ParseNextLineTakesAFailureForTheEnd) {
  MyTraceLogger logger("module");
  std::string line = "Name : 5 : yes\n";
  const std::unique_ptr<std::FILE, CloseFile> file(
      ::fopencookie(&line, "r", {&ReadOnce, nullptr, nullptr, nullptr}));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), -1);
  EXPECT_THAT(Tags(logger), ElementsAre("5 Name yes"));
}

TEST_F(TagFileTest, ParseNextLineDefinesNothingByHalfALine) {
  MyTraceLogger logger("module");
  std::string line = "Name : 5 : yes\nOther : 6 : yes";
  const std::unique_ptr<std::FILE, CloseFile> file(
      ::fopencookie(&line, "r", {&ReadOnce, nullptr, nullptr, nullptr}));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), -1);
  EXPECT_THAT(Tags(logger), ElementsAre("5 Name yes"));
}

/// A file that is read in parts, with a signal before each.
struct InterruptedFile {
  std::vector<std::string> parts;
  std::size_t next = 0;
  bool wasInterrupted = false;
};

ssize_t ReadInterrupted(void* cookie, char* buffer, std::size_t size) {
  auto& file = *static_cast<InterruptedFile*>(cookie);
  file.wasInterrupted = !file.wasInterrupted;
  if (file.wasInterrupted) {
    errno = EINTR;
    return -1;
  }
  if (file.next == file.parts.size()) return 0;
  return static_cast<ssize_t>(file.parts[file.next++].copy(buffer, size));
}

TEST_F(TagFileTest, ParseNextLinePutsTogetherALineThatSignalsInterrupt) {
  MyTraceLogger logger("module");
  InterruptedFile parts{{"Na", "me : 5 ", ": yes\nOther : 6 : yes", "terday"}};
  const std::unique_ptr<std::FILE, CloseFile> file(
      ::fopencookie(&parts, "r", {&ReadInterrupted, nullptr, nullptr, nullptr}));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_THAT(Tags(logger), ElementsAre("5 Name yes"));
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), 0);
  EXPECT_THAT(Tags(logger), ElementsAre("5 Name yes", "6 Other no"));
  EXPECT_EQ(Probe::parseNextLine(logger, file.get()), -1);
}

TEST(ParseOneLine, FillsTheTagWithWhatTheLineDefines) {
  TraceTag tag;
  tag.Initialize("a much longer name than that", 9, false);
  EXPECT_EQ(Probe::parseOneLine("Name : 300 : yes", tag), 0);
  EXPECT_STREQ(tag.name(), "Name");
  EXPECT_EQ(tag.id(), 300);
  EXPECT_TRUE(tag.enabled());
  EXPECT_EQ(Probe::parseOneLine("Name : -7", tag), 0);
  EXPECT_EQ(tag.id(), -7);
  EXPECT_FALSE(tag.enabled());
}

TEST(ParseOneLine, LeavesTheTagAloneForAnOutputFile) {
  TraceTag tag;
  tag.Initialize("before", 9, true);
  EXPECT_EQ(Probe::parseOneLine("Output_File : 5 : x", tag), 0);
  EXPECT_STREQ(tag.name(), "before");
  EXPECT_EQ(tag.id(), 9);
  EXPECT_TRUE(tag.enabled());
}

TEST(ParseOneLine, LeavesTheTagAloneForNoTagLine) {
  TraceTag tag;
  tag.Initialize("before", 9, true);
  for (const char* line : {"", "\n", "Name", "Name :", "Name: 5 : yes", "Name : x : yes"})
    EXPECT_EQ(Probe::parseOneLine(line, tag), -1) << line;
  EXPECT_STREQ(tag.name(), "before");
  EXPECT_EQ(tag.id(), 9);
  EXPECT_TRUE(tag.enabled());
}

}  // namespace
}  // namespace qv::tests
