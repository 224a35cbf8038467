#include "kit/osdep/INIFileManager.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <new>
#include <string>

#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::String;
using qv::kit::Vector;
using qv::kit::osdep::INIFileManager;
using qv::tests::Exactly;
using qv::tests::FailingAllocator;
using qv::tests::StagedSystemCalls;
using qv::tests::SystemCall;
using qv::tests::TemporaryDirectory;

constexpr char kContents[] = "[S]\nk = old\nnumber = 5\n";

/// A file, and the strings of a test, which it must not run out of memory for itself.
struct File {
  File() { directory.write("a.ini", kContents); }

  std::ptrdiff_t entries() const {
    const std::filesystem::directory_iterator found(directory.path());
    return std::distance(begin(found), end(found));
  }

  const TemporaryDirectory directory;
  const String path = directory.path("a.ini").c_str();
  const String section = "S";
  const String key = "k";
  const String newKey = "new";
  const String number = "number";
  /// Longer than what a string or the library has room for at first.
  const String text = std::string(2000, 'x').c_str();
};

enum class Outcome { Done, Refused, Thrown };

template <typename OperationT>
Outcome Try(OperationT operation) {
  try {
    return operation() ? Outcome::Done : Outcome::Refused;
  } catch (const std::bad_alloc&) {
    return Outcome::Thrown;
  }
}

/// Lets every allocation of operation(manager) fail in turn, each time with a new manager, and has
/// check(manager, outcome) look at what came of it, until the operation succeeds because it asked
/// for memory less often.
template <typename OperationT, typename CheckT>
void FailEveryAllocation(const File& file, OperationT operation, CheckT check) {
  for (std::uint32_t failing = 1;; ++failing) {
    SCOPED_TRACE(failing);
    INIFileManager manager(file.path, file.section);
    Outcome outcome = Outcome::Done;
    {
      FailingAllocator allocator;
      allocator.FailCall(failing);
      outcome = Try([&] { return operation(manager); });
      if (allocator.sizes().size() < failing) {
        EXPECT_EQ(outcome, Outcome::Done);
        EXPECT_GT(failing, 1U) << "asked for no memory at all";
        return;
      }
    }
    check(manager, outcome);
    if (testing::Test::HasFailure()) return;
  }
}

std::string ReadBack(const File& file, INIFileManager& manager, const String& key) {
  String value("none");
  manager.read(file.section, key, value);
  return Exactly(value);
}

TEST(INIFileManagerWithoutMemory, CannotBeMadeOrStartsEmpty) {
  const File file;
  for (std::uint32_t failing = 1;; ++failing) {
    SCOPED_TRACE(failing);
    FailingAllocator allocator;
    allocator.FailCall(failing);
    try {
      INIFileManager manager(file.path, file.section);
      const bool failed = allocator.sizes().size() >= failing;
      allocator.Relent();
      // What was copied for its caller needed memory first.
      EXPECT_EQ(Exactly(manager.section()), "S");
      EXPECT_EQ(manager.isLoaded(), !failed);
      EXPECT_EQ(manager.keyPresent(file.section, file.key), !failed);
      if (!failed) break;
    } catch (const std::bad_alloc&) {
      EXPECT_LE(failing, 2U);
    }
    ASSERT_FALSE(HasFailure());
  }
}

TEST(INIFileManagerWithoutMemory, LeavesTheDocumentWhenAWriteFails) {
  const File file;
  for (const String* const key : {&file.key, &file.newKey}) {
    FailEveryAllocation(
        file, [&](INIFileManager& manager) { return manager.write(file.section, *key, file.text); },
        [&](INIFileManager& manager, Outcome outcome) {
          EXPECT_EQ(outcome, Outcome::Refused);
          EXPECT_EQ(ReadBack(file, manager, *key), key == &file.key ? "old" : "none");
          EXPECT_TRUE(manager.write(file.section, *key, file.text));
          EXPECT_EQ(ReadBack(file, manager, *key), Exactly(file.text));
        });
  }
}

TEST(INIFileManagerWithoutMemory, LeavesTheDocumentWhenAWriteToANewSectionFails) {
  const File file;
  FailEveryAllocation(
      file,
      [&](INIFileManager& manager) { return manager.writeRaw(file.newKey, file.key, file.text); },
      [&](INIFileManager& manager, Outcome outcome) {
        EXPECT_EQ(outcome, Outcome::Refused);
        EXPECT_FALSE(manager.keyPresent(file.newKey, file.key));
        EXPECT_TRUE(manager.writeFile());
        EXPECT_EQ(file.directory.read("a.ini").find("[new]"), std::string::npos);
      });
}

TEST(INIFileManagerWithoutMemory, ThrowsWhenTextToWriteFindsNoRoomInAString) {
  const File file;
  INIFileManager manager(file.path, file.section);
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(manager.write(file.section, file.key, "text"), std::bad_alloc);
  allocator.Relent();
  EXPECT_EQ(ReadBack(file, manager, file.key), "old");
}

TEST(INIFileManagerWithoutMemory, LeavesTheVariableWhenAReadFails) {
  const File file;
  file.directory.write("a.ini", "[S]\nk = " + Exactly(file.text) + "\n");
  for (const bool raw : {false, true}) {
    String value("before");
    bool thrown = false;
    bool refused = false;
    FailEveryAllocation(
        file,
        [&](INIFileManager& manager) {
          return raw ? manager.readRaw(file.section, file.key, value)
                     : manager.read(file.section, file.key, value);
        },
        [&](INIFileManager&, Outcome outcome) {
          EXPECT_NE(outcome, Outcome::Done);
          EXPECT_EQ(Exactly(value), "before");
          thrown = thrown || outcome == Outcome::Thrown;
          refused = refused || outcome == Outcome::Refused;
        });
    EXPECT_TRUE(refused) << "in the library";
    EXPECT_TRUE(thrown) << "in the string";
    EXPECT_EQ(Exactly(value), Exactly(file.text));
  }
}

TEST(INIFileManagerWithoutMemory, ReadsNumbersWithoutAskingForAny) {
  const File file;
  INIFileManager manager(file.path, file.section);
  FailingAllocator allocator;
  allocator.FailFrom(1);
  long value = 0;
  EXPECT_TRUE(manager.read(file.section, file.number, value));
  EXPECT_EQ(value, 5);
  EXPECT_TRUE(manager.keyPresent(file.section, file.number));
}

TEST(INIFileManagerWithoutMemory, IsEmptyAfterAReloadThatFailed) {
  const File file;
  FailEveryAllocation(
      file, [](INIFileManager& manager) { return manager.reloadFile(); },
      [&](INIFileManager& manager, Outcome outcome) {
        EXPECT_EQ(outcome, Outcome::Refused);
        EXPECT_FALSE(manager.isLoaded());
        EXPECT_FALSE(manager.keyPresent(file.section, file.key));
        EXPECT_TRUE(manager.reloadFile());
        EXPECT_TRUE(manager.keyPresent(file.section, file.key));
      });
}

TEST(INIFileManagerWithoutMemory, RefusesEverythingWhileItHasNoDocument) {
  const File file;
  INIFileManager manager(file.path, file.section);
  {
    FailingAllocator allocator;
    allocator.FailFrom(1);
    EXPECT_FALSE(manager.reloadFile());
  }
  String text("before");
  int number = 42;
  double real = 42;
  bool truth = true;
  EXPECT_FALSE(manager.keyPresent("S", "k"));
  EXPECT_FALSE(manager.read("S", "k", text) || manager.readRaw("S", "k", text));
  EXPECT_FALSE(manager.read("S", "k", number) || manager.read("S", "k", real) ||
               manager.read("S", "k", truth));
  EXPECT_FALSE(manager.write("S", "k", "v") || manager.writeRaw("S", "k", "v"));
  EXPECT_FALSE(manager.write("S", "k", 1) || manager.write("S", "k", 1U) ||
               manager.write("S", "k", 1.0) || manager.write("S", "k", true));
  EXPECT_FALSE(manager.writeFile());
  Vector<String> keys;
  keys.push_back("old");
  manager.enumKeys("S", keys);
  EXPECT_EQ(keys.size(), 0U);
  EXPECT_EQ(Exactly(text), "before");
  EXPECT_EQ(number, 42);
  EXPECT_EQ(file.directory.read("a.ini"), kContents);
  EXPECT_TRUE(manager.reloadFile());
}

TEST(INIFileManagerWithoutMemory, LeavesTheFileWhenItCannotWriteIt) {
  const std::string written = "[S]\nk = old\nnumber = 7\n\n";
  const File file;
  bool refused = false;
  FailEveryAllocation(
      file,
      [&](INIFileManager& manager) {
        return manager.write(file.section, file.number, 7) && manager.writeFile();
      },
      [&](INIFileManager& manager, Outcome outcome) {
        // The library can do without some of the memory that it asks for.
        refused = refused || outcome == Outcome::Refused;
        EXPECT_NE(outcome, Outcome::Thrown);
        EXPECT_TRUE(manager.isLoaded());
        EXPECT_EQ(file.directory.read("a.ini"), outcome == Outcome::Done ? written : kContents);
        EXPECT_EQ(file.entries(), 1);
        file.directory.write("a.ini", kContents);
      });
  EXPECT_TRUE(refused);
  EXPECT_EQ(file.directory.read("a.ini"), written);
}

TEST(INIFileManagerWithoutMemory, LeavesTheListOfKeysWhenItCannotMakeANewOne) {
  const File file;
  Vector<String> keys;
  keys.push_back("before");
  FailEveryAllocation(
      file,
      [&](INIFileManager& manager) {
        manager.enumKeys(file.section, keys);
        return true;
      },
      [&](INIFileManager&, Outcome outcome) {
        EXPECT_EQ(outcome, Outcome::Thrown);
        ASSERT_EQ(keys.size(), 1U);
        EXPECT_EQ(Exactly(keys[0]), "before");
      });
  EXPECT_EQ(keys.size(), 2U);
}

TEST(INIFileManagerFault, IsEmptyAndNotLoadedWhenReadingFails) {
  const File file;
  StagedSystemCalls staged;
  staged.fail(SystemCall::Read, EIO, StagedSystemCalls::kAll);
  INIFileManager manager(file.path, file.section);
  EXPECT_GT(staged.calls(SystemCall::Read), 0U);
  EXPECT_FALSE(manager.isLoaded());
  EXPECT_FALSE(manager.keyPresent("S", "k"));
}

TEST(INIFileManagerFault, LeavesTheFileWhenTheDiskIsFull) {
  const File file;
  INIFileManager manager(file.path, file.section);
  EXPECT_TRUE(manager.write("S", "k", "new"));
  StagedSystemCalls staged;
  staged.fail(SystemCall::Write, ENOSPC, StagedSystemCalls::kAll);
  EXPECT_FALSE(manager.writeFile());
  EXPECT_GT(staged.calls(SystemCall::Write), 0U);
  EXPECT_TRUE(manager.isLoaded());
  EXPECT_EQ(file.directory.read("a.ini"), kContents);
  EXPECT_EQ(file.entries(), 1);
}

}  // namespace
