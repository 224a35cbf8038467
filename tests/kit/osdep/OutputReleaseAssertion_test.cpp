#include "kit/osdep/OutputReleaseAssertion.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/doubles/Plugins.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace {

using qv::tests::PluginFile;
using qv::tests::TemporaryDirectory;

constexpr char kOn[] = "[NVE]\nShowReleaseAsserts = true\n";
constexpr char kReported[] = "f(7): Release Assertion failed: m\a\n";

using Output = decltype(&qv::kit::osdep::OutputReleaseAssertion);

/// The library whose assertions are heard, loaded into a child of this process.
class Library {
 public:
  Library() : handle_(::dlopen(PluginFile("qv_assertion").c_str(), RTLD_NOW)) {}

  bool isLoaded() const { return handle_ != nullptr; }

  void output(const char* expression, const char* message, const char* file, unsigned line) const {
    reinterpret_cast<Output>(::dlsym(handle_, "qv_assertion_output"))(expression, message, file,
                                                                      line);
  }
  bool foundDefaultItem() const {
    return qv::tests::CallForInt(::dlsym(handle_, "qv_assertion_found_default_item")) != 0;
  }

 private:
  void* handle_;
};

/// Lets permissions count even where tests run as root.
void GiveUpPrivileges() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[2] = {};
  if (::syscall(SYS_capset, &header, none) != 0) ::_exit(4);
}

using Use = std::function<void(const Library&)>;

/// What the child does before it loads the library.
using Preparation = void (*)();
void PrepareNothing() {}

[[noreturn]] void UseLibrary(const std::string& directory, const std::string& output,
                             const Use& use, Preparation prepare) {
  // Whatever waits for ever ends here.
  ::alarm(30);
  const int file = ::open(output.c_str(), O_WRONLY | O_CREAT, 0600);
  if (file == -1 || ::dup2(file, STDERR_FILENO) == -1) ::_exit(1);
  if (::chdir(directory.c_str()) != 0) ::_exit(2);
  GiveUpPrivileges();
  prepare();
  const Library library;
  if (!library.isLoaded()) ::_exit(3);
  use(library);
  ::_exit(0);
}

void AssertOnce(const Library& library) {
  library.output("e", "m", "f", 7);
}

/// All that comes on standard error from a process whose current directory that is when it loads
/// the library and uses it so.
std::string Errors(const std::string& directory, const Use& use = AssertOnce,
                   Preparation prepare = PrepareNothing) {
  const TemporaryDirectory output;
  const pid_t child = ::fork();
  if (child == 0) UseLibrary(directory, output.path("errors"), use, prepare);
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  return output.read("errors");
}

/// The same, with these contents of "vantis.ini".
std::string ErrorsWith(const std::string& contents, const Use& use = AssertOnce,
                       Preparation prepare = PrepareNothing) {
  const TemporaryDirectory directory;
  directory.write("vantis.ini", contents);
  return Errors(directory.path(), use, prepare);
}

void CancelThisThread() {
  pthread_cancel(pthread_self());
}

void OutliveCancellation() {
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
}

/// Makes standard error a pipe that nobody reads.
void BreakStandardError() {
  int ends[2];
  if (::pipe(ends) != 0) ::_exit(5);
  ::dup2(ends[1], STDERR_FILENO);
  ::close(ends[0]);
  ::close(ends[1]);
}

/// Lets no file of this process grow, as LimitFSIZE=0 does to a service.
void LetNoFileGrow() {
  const rlimit none{0, 0};
  if (::setrlimit(RLIMIT_FSIZE, &none) != 0) ::_exit(5);
}

bool IsPending(int signal) {
  sigset_t pending;
  ::sigpending(&pending);
  return ::sigismember(&pending, signal) == 1;
}

/// An assertion neither ends the process by the signal that its write raises nor leaves it behind.
void AssertOnceWithout(int signal, const Library& library) {
  AssertOnce(library);
  if (IsPending(signal)) ::_exit(6);
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  if (::sigismember(&mask, signal) == 1) ::_exit(7);
}

TEST(OutputReleaseAssertion, PrintsFileLineMessageAndABell) {
  EXPECT_EQ(ErrorsWith(kOn), kReported);
}

TEST(OutputReleaseAssertion, PrintsNothingWithoutAFile) {
  EXPECT_EQ(Errors(TemporaryDirectory().path()), "");
}

TEST(OutputReleaseAssertion, PrintsTheExpressionInPlaceOfAnEmptyMessage) {
  EXPECT_EQ(ErrorsWith(kOn, [](const Library& library) { library.output("a == b", "", "f", 7); }),
            "f(7): Release Assertion failed: a == b\a\n");
}

TEST(OutputReleaseAssertion, ReturnsAndPrintsEveryTime) {
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         library.output("e", "one", "a.cpp", 1);
                         library.output("e", "two", "b.cpp", 2147483647);
                         library.output("e", "three", "c.cpp", 4294967295);
                       }),
            "a.cpp(1): Release Assertion failed: one\a\n"
            "b.cpp(2147483647): Release Assertion failed: two\a\n"
            "c.cpp(-1): Release Assertion failed: three\a\n");
}

TEST(OutputReleaseAssertion, TakesNoPartOfItsTextsForAFormat) {
  EXPECT_EQ(
      ErrorsWith(kOn, [](const Library& library) { library.output("e", "100%s", "%n.cpp", 7); }),
      "%n.cpp(7): Release Assertion failed: 100%s\a\n");
}

TEST(OutputReleaseAssertion, PrintsALongMessageWhole) {
  const std::string message(100000, 'm');
  EXPECT_EQ(ErrorsWith(
                kOn, [&](const Library& library) { library.output("e", message.c_str(), "f", 7); }),
            "f(7): Release Assertion failed: " + message + "\a\n");
}

TEST(OutputReleaseAssertion, FlushesWhatItPrints) {
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         // The child ends without flushing anything.
                         std::setvbuf(stderr, nullptr, _IOFBF, 4096);
                         AssertOnce(library);
                       }),
            kReported);
}

TEST(OutputReleaseAssertion, ReturnsWhereStandardErrorIsClosed) {
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         ::close(STDERR_FILENO);
                         AssertOnce(library);
                       }),
            "");
}

TEST(OutputReleaseAssertion, ReturnsWhereNobodyReadsStandardError) {
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         BreakStandardError();
                         AssertOnceWithout(SIGPIPE, library);
                       }),
            "");
}

TEST(OutputReleaseAssertion, ReturnsWhereStandardErrorMayNotGrow) {
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         LetNoFileGrow();
                         AssertOnceWithout(SIGXFSZ, library);
                       }),
            "");
}

TEST(OutputReleaseAssertion, LeavesTheHostsOwnSignalsToTheHost) {
  for (const int signal : {SIGPIPE, SIGXFSZ}) {
    EXPECT_EQ(ErrorsWith(kOn,
                         [&](const Library& library) {
                           sigset_t own;
                           ::sigemptyset(&own);
                           ::sigaddset(&own, signal);
                           pthread_sigmask(SIG_BLOCK, &own, nullptr);
                           ::raise(signal);
                           AssertOnce(library);
                           if (!IsPending(signal)) ::_exit(6);
                         }),
              kReported);
  }
}

TEST(OutputReleaseAssertion, LeavesErrnoAlone) {
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         ::close(STDERR_FILENO);
                         errno = 12345;
                         AssertOnce(library);
                         if (errno != 12345) ::_exit(6);
                       }),
            "");
}

TEST(OutputReleaseAssertion, MayBeRaisedInAThreadThatIsCancelled) {
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         CancelThisThread();
                         AssertOnce(library);
                         OutliveCancellation();
                       }),
            kReported);
}

TEST(OutputReleaseAssertion, LetsAThreadThatIsCancelledLoadTheLibrary) {
  const Use survive = [](const Library& library) {
    OutliveCancellation();
    AssertOnce(library);
  };
  EXPECT_EQ(ErrorsWith(kOn, survive, CancelThisThread), kReported);
  EXPECT_EQ(Errors(TemporaryDirectory().path(), survive, CancelThisThread), "");
}

TEST(OutputReleaseAssertion, ReadsAFileOfAMebibyteAndNoneThatIsLonger) {
  const std::string most(std::size_t{1 << 20} - sizeof kOn + 1, '\n');
  EXPECT_EQ(ErrorsWith(kOn + most), kReported);
  EXPECT_EQ(ErrorsWith(kOn + most + "\n"), "");
}

TEST(OutputReleaseAssertion, ReadsNoFileOf4GiBAndAFewBytes) {
  const TemporaryDirectory directory;
  directory.write("vantis.ini", kOn);
  ASSERT_EQ(::truncate(directory.path("vantis.ini").c_str(), 0x100000000 + off_t{sizeof kOn}), 0);
  EXPECT_EQ(Errors(directory.path()), "");
}

// The system shows such files as empty, and may take for ever to make up what is in them. This one
// is the memory that the environment began in.
TEST(OutputReleaseAssertion, DoesNotReadWhatTheSystemMakesUp) {
  const TemporaryDirectory directory;
  directory.makeLink("/proc/self/environ", "vantis.ini");
  EXPECT_EQ(
      Errors(directory.path(), AssertOnce, [] { std::memcpy(environ[0], kOn, sizeof kOn - 1); }),
      "");
}

TEST(OutputReleaseAssertion, IsSwitchedOnByTrueInAnySpelling) {
  for (const char* const value : {"True", "tRuE", "TRUE", "\"true\""}) {
    EXPECT_EQ(ErrorsWith(std::string("[NVE]\nShowReleaseAsserts = ") + value + "\n"), kReported)
        << value;
  }
}

TEST(OutputReleaseAssertion, FindsSectionAndKeyInAnySpelling) {
  EXPECT_EQ(ErrorsWith("[Other]\na = 1\n\n[ nve ]\nshowreleaseasserts=true\n"), kReported);
}

TEST(OutputReleaseAssertion, IsOffForFalseAndForAnythingThatIsNeitherTrueNorFalse) {
  for (const char* const value : {"False", "yes", "1", "truee", "tru", "\"\"", "", "\xFF"}) {
    EXPECT_EQ(ErrorsWith(std::string("[NVE]\nShowReleaseAsserts = ") + value + "\n"), "") << value;
  }
}

TEST(OutputReleaseAssertion, IsOffWithoutTheSection) {
  EXPECT_EQ(ErrorsWith("[Other]\nShowReleaseAsserts = true\n"), "");
  EXPECT_EQ(ErrorsWith("ShowReleaseAsserts = true\n"), "");
}

TEST(OutputReleaseAssertion, IsOffWithoutTheKey) {
  EXPECT_EQ(ErrorsWith("[NVE]\nShowAsserts = true\n[Other]\nShowReleaseAsserts = true\n"), "");
  EXPECT_EQ(ErrorsWith(""), "");
}

TEST(OutputReleaseAssertion, IsOffForAFileOfAnotherEncoding) {
  EXPECT_EQ(ErrorsWith(std::string("\xFF\xFE") + kOn), "");
  EXPECT_EQ(ErrorsWith(std::string("\xEF\xBB\xBF") + kOn), kReported);
}

TEST(OutputReleaseAssertion, StaysAsItWasWhenTheLibraryWasLoaded) {
  EXPECT_EQ(ErrorsWith("[NVE]\nShowReleaseAsserts = false\n",
                       [](const Library& library) {
                         std::filesystem::rename("vantis.ini", "old.ini");
                         AssertOnce(library);
                       }),
            "");
  EXPECT_EQ(ErrorsWith(kOn,
                       [](const Library& library) {
                         std::filesystem::remove("vantis.ini");
                         AssertOnce(library);
                       }),
            kReported);
  const TemporaryDirectory switchedOff;
  switchedOff.write("vantis.ini", "[NVE]\nShowReleaseAsserts = false\n");
  EXPECT_EQ(Errors(switchedOff.path(),
                   [&](const Library& library) {
                     switchedOff.write("vantis.ini", kOn);
                     AssertOnce(library);
                   }),
            "");
}

TEST(OutputReleaseAssertion, LooksForItsFileInTheCurrentDirectoryAlone) {
  const TemporaryDirectory directory;
  directory.write("vantis.ini", kOn);
  directory.makeDirectory("below");
  EXPECT_EQ(Errors(directory.path("below")), "");
  const TemporaryDirectory elsewhere;
  elsewhere.write("Vantis.ini", kOn);
  EXPECT_EQ(Errors(elsewhere.path()), "");
}

TEST(OutputReleaseAssertion, FollowsALinkToItsFile) {
  const TemporaryDirectory directory;
  directory.write("real", kOn);
  directory.makeLink("real", "vantis.ini");
  EXPECT_EQ(Errors(directory.path()), kReported);
}

TEST(OutputReleaseAssertion, IsOffWhereItsFileCannotBeRead) {
  const TemporaryDirectory directory;
  directory.write("vantis.ini", kOn);
  ASSERT_EQ(::chmod(directory.path("vantis.ini").c_str(), 0), 0);
  EXPECT_EQ(Errors(directory.path()), "");
}

TEST(OutputReleaseAssertion, IsOffWhereItsFileIsADirectoryOrALinkThatLeadsNowhere) {
  const TemporaryDirectory directory;
  directory.makeDirectory("vantis.ini");
  EXPECT_EQ(Errors(directory.path()), "");
  const TemporaryDirectory linked;
  linked.makeLink("vantis.ini", "vantis.ini");
  EXPECT_EQ(Errors(linked.path()), "");
}

TEST(OutputReleaseAssertion, DoesNotWaitForAPipe) {
  const TemporaryDirectory directory;
  ASSERT_EQ(::mkfifo(directory.path("vantis.ini").c_str(), 0600), 0);
  EXPECT_EQ(Errors(directory.path()), "");
}

TEST(OutputReleaseAssertion, DoesNotReadADeviceWithoutEnd) {
  const TemporaryDirectory directory;
  directory.makeLink("/dev/zero", "vantis.ini");
  EXPECT_EQ(Errors(directory.path()), "");
}

// The module asserts in a static initializer that runs before the file has been read.
TEST(OutputReleaseAssertion, IsOffUntilItsFileHasBeenRead) {
  EXPECT_EQ(ErrorsWith(kOn, [](const Library&) {}), "");
}

TEST(INIFileManagerAtLoad, KnowsTheDefaultNamesBeforeItIsInitialized) {
  const TemporaryDirectory directory;
  const Use tell = [](const Library& library) {
    std::fputs(library.foundDefaultItem() ? "found" : "missing", stderr);
  };
  directory.write("early.ini", "[Kestrix Works]\nDefault = 1\n");
  EXPECT_EQ(Errors(directory.path(), tell), "found");
  directory.write("early.ini", "[Kestrix Works]\nOther = 1\n");
  EXPECT_EQ(Errors(directory.path(), tell), "missing");
}

}  // namespace
