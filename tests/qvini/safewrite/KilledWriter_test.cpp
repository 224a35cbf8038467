#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "qvini/qvini.h"
#include "tests/doubles/DeniedSystemCall.h"
#include "tests/doubles/InChild.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/TracedChild.h"
#include "tests/qvini/safewrite/Writer.h"

using qv::tests::DenySystemCall;
using qv::tests::InChild;
using qv::tests::kFixedName;
using qv::tests::kOld;
using qv::tests::kUniqueName;
using qv::tests::NamesBeside;
using qv::tests::TemporaryDirectory;
using qv::tests::TracedChild;
using qv::tests::Writer;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr mode_t kOldMode = 0604;

struct Case {
  unsigned flags;
  bool exists;
};

void PrintTo(const Case& c, std::ostream* out) {
  *out << (c.flags == kFixedName ? "fixed name" : "unique name")
       << (c.exists ? " over a file" : " without a file");
}

/// A directory with the target, or without it, as the case has it.
class Target {
 public:
  explicit Target(bool exists) : exists_(exists) {
    if (!exists) return;
    directory_.write("target.ini", kOld);
    ::chmod(path().c_str(), kOldMode);
  }

  std::string path() const { return directory_.path("target.ini"); }
  const TemporaryDirectory& directory() const { return directory_; }

  bool holds(const std::string& text) const {
    return directory_.has("target.ini") && directory_.read("target.ini") == text;
  }
  /// As it was before, the permissions included.
  bool isOld() const {
    if (!exists_) return !directory_.has("target.ini");
    return holds(kOld) && directory_.permissions("target.ini") == kOldMode;
  }
  /// Complete, with the permissions of the old one.
  bool isNew(const Writer& writer) const {
    return holds(writer.text()) && (!exists_ || directory_.permissions("target.ini") == kOldMode);
  }
  /// A file that was missing may be seen empty while the writer tries whether it can be made.
  bool isProbe() const { return !exists_ && holds(""); }

 private:
  TemporaryDirectory directory_;
  bool exists_;
};

/// Names of temporary files of a writer.
auto IsTemporary(unsigned flags) {
  return testing::ResultOf(
      [flags](const std::string& name) {
        const std::string unique = "ini$$.TMP";
        return flags == kFixedName ? name == "target.TMP"
                                   : name.compare(0, unique.size(), unique) == 0 &&
                                         name.size() == unique.size() + 6;
      },
      true);
}

/// Calls that are not the writer's: those for memory, for what becomes of a program without any is
/// another story, and those with which a process ends.
bool IsOthers(std::uint64_t call) {
  static const std::set<std::uint64_t> kOthers{
      SYS_brk,     SYS_mmap,   SYS_munmap,     SYS_mprotect,
      SYS_madvise, SYS_mremap, SYS_exit_group, SYS_sigaltstack,
#ifdef SYS_mmap2
      SYS_mmap2,
#endif
  };
  return kOthers.count(call) != 0;
}

bool IsRename(std::uint64_t call) {
  static const std::set<std::uint64_t> kRenames{
#ifdef SYS_rename
      SYS_rename,
#endif
#ifdef SYS_renameat
      SYS_renameat,
#endif
      SYS_renameat2};
  return kRenames.count(call) != 0;
}

class SafeWrite : public testing::TestWithParam<Case> {};

}  // namespace

TEST_P(SafeWrite, KilledAtAnySystemCallLeavesTheOldContentOrTheNew) {
  const auto [flags, exists] = GetParam();
  const Writer writer(flags);
  int kills = 0;
  int old = 0;
  int probes = 0;
  int complete = 0;
  int leftovers = 0;
  for (bool finished = false; !finished;) {
    const Target target(exists);
    TracedChild child([&] {
      if (writer.write(target.path()) != 0) throw std::runtime_error("not written");
    });
    bool renamed = false;
    for (int step = 0; step <= kills && !finished; ++step) {
      finished = !child.step();
      renamed = renamed || (IsRename(child.stop().number) && !child.stop().entry);
    }
    if (finished) {
      EXPECT_TRUE(target.isNew(writer));
      break;
    }
    child.kill();
    ++kills;
    SCOPED_TRACE("kill " + std::to_string(kills));

    ASSERT_TRUE(renamed ? target.isNew(writer) : target.isOld() || target.isProbe());
    old += target.isOld() ? 1 : 0;
    probes += target.isProbe() ? 1 : 0;
    complete += renamed ? 1 : 0;
    const std::vector<std::string> names = NamesBeside(target.directory(), "target.ini");
    ASSERT_THAT(names, AnyOf(IsEmpty(), ElementsAre(IsTemporary(flags))));
    leftovers += names.empty() ? 0 : 1;

    const Writer next(flags, "next");
    ASSERT_EQ(next.write(target.path()), 0);
    ASSERT_TRUE(target.holds(next.text()));
    if (exists) {
      ASSERT_EQ(target.directory().permissions("target.ini"), kOldMode);
    }
    // The one that the killed writer left is written over, or stays if its name was unique.
    ASSERT_EQ(NamesBeside(target.directory(), "target.ini"),
              flags == kFixedName ? std::vector<std::string>() : names);
  }
  std::printf(
      "%d kills: %d left the old content, %d an empty probe, %d the new content; "
      "%d left a temporary file\n",
      kills, old, probes, complete, leftovers);
  EXPECT_GT(kills, 20);
  EXPECT_GT(old, 10);
  EXPECT_GT(complete, 1);
  EXPECT_GT(leftovers, 4);
  EXPECT_EQ(probes == 0, exists);
}

TEST_P(SafeWrite, ForcesTheContentToTheDiskBeforeItTakesTheName) {
  const auto [flags, exists] = GetParam();
  const Writer writer(flags);
  const Target target(exists);
  TracedChild child([&] {
    if (writer.write(target.path()) != 0) throw std::runtime_error("not written");
  });
  std::vector<std::string> order;
  std::uint64_t written = 0;
  while (child.step()) {
    const TracedChild::Stop& stop = child.stop();
    if (!stop.entry) continue;
    if (stop.number == SYS_write) {
      if (order.empty() || order.back() != "write") order.emplace_back("write");
      written = stop.arguments[0];
    }
    if (stop.number == SYS_fsync || stop.number == SYS_fdatasync) {
      order.emplace_back(stop.arguments[0] == written ? "to the disk" : "something to the disk");
    }
    if (IsRename(stop.number)) order.emplace_back("rename");
  }
  ASSERT_GE(order.size(), 3U);
  order.resize(3);
  EXPECT_THAT(order, ElementsAre("write", "to the disk", "rename"));
}

TEST_P(SafeWrite, WithAnySystemCallDeniedLeavesTheOldContentOrTheNewAndSaysWhich) {
  const auto [flags, exists] = GetParam();
  const Writer writer(flags);
  std::set<std::uint64_t> calls;
  {
    const Target target(exists);
    TracedChild child([&] { writer.write(target.path()); });
    while (child.step())
      if (!IsOthers(child.stop().number)) calls.insert(child.stop().number);
  }
  ASSERT_GE(calls.size(), 6U);

  int failures = 0;
  for (const std::uint64_t call : calls) {
    for (const unsigned error : {EIO, EACCES, ENOSPC}) {
      const Target target(exists);
      const int result = InChild([&] {
        DenySystemCall(static_cast<unsigned>(call), error);
        return writer.write(target.path());
      });
      SCOPED_TRACE("call " + std::to_string(call) + " fails with " + std::to_string(error) +
                   ": result " + std::to_string(result));
      if (result == 0) {
        EXPECT_TRUE(target.isNew(writer));
      } else {
        ++failures;
        EXPECT_TRUE(target.isOld() || (target.isProbe() && call == SYS_unlink));
        // Where nothing can be removed, nothing is.
        if (call != SYS_unlink) {
          EXPECT_THAT(NamesBeside(target.directory(), "target.ini"), IsEmpty());
        }
      }
    }
  }
  std::printf("%zu calls denied, %d failures\n", calls.size(), failures);
  EXPECT_GE(failures, 9);
}

INSTANTIATE_TEST_SUITE_P(Targets, SafeWrite,
                         testing::Values(Case{kFixedName, true}, Case{kFixedName, false},
                                         Case{kUniqueName, true}, Case{kUniqueName, false}));

namespace {

/// What writing gives when one system call fails.
int WithDenied(unsigned call, unsigned error, unsigned flags, const Target& target) {
  const Writer writer(flags);
  return InChild([&] {
    DenySystemCall(call, error);
    return writer.write(target.path());
  });
}

}  // namespace

TEST(SafeWriteFailures, AFullDiskGivesFlushFailed) {
  for (const unsigned flags : {kFixedName, kUniqueName}) {
    const Target target(true);
    EXPECT_EQ(WithDenied(SYS_write, ENOSPC, flags, target), kIniFlushFailed);
    EXPECT_TRUE(target.isOld());
    EXPECT_THAT(NamesBeside(target.directory(), "target.ini"), IsEmpty());
  }
}

TEST(SafeWriteFailures, ADiskThatDoesNotKeepWhatItTookGivesFlushFailed) {
  for (const unsigned flags : {kFixedName, kUniqueName}) {
    const Target target(true);
    EXPECT_EQ(WithDenied(SYS_fsync, EIO, flags, target), kIniFlushFailed);
    EXPECT_TRUE(target.isOld());
    EXPECT_THAT(NamesBeside(target.directory(), "target.ini"), IsEmpty());
  }
}

#ifdef SYS_rename
TEST(SafeWriteFailures, ARenameThatFailsGivesNotWritableAndRemovesTheTemporaryFile) {
  for (const unsigned flags : {kFixedName, kUniqueName}) {
    const Target target(true);
    EXPECT_EQ(WithDenied(SYS_rename, EIO, flags, target), kIniNotWritable);
    EXPECT_TRUE(target.isOld());
    EXPECT_THAT(NamesBeside(target.directory(), "target.ini"), IsEmpty());
  }
}
#endif
