#include "kit/osdep/INIFileManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/Longs.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::String;
using qv::kit::Vector;
using qv::kit::osdep::INIFileManager;
using qv::tests::Exactly;
using qv::tests::TemporaryDirectory;
using testing::ElementsAre;
using testing::IsEmpty;

INIFileManager ManagerOf(const TemporaryDirectory& directory) {
  return INIFileManager(directory.path("a.ini").c_str(), "S");
}

/// A manager of a file with these contents.
INIFileManager ManagerOf(const TemporaryDirectory& directory, const std::string& contents) {
  directory.write("a.ini", contents);
  return ManagerOf(directory);
}

std::vector<std::string> Keys(const INIFileManager& manager, const String& section) {
  Vector<String> keys;
  manager.enumKeys(section, keys);
  std::vector<std::string> names;
  for (const String& key : keys)
    names.push_back(Exactly(key));
  return names;
}

String WithZero() {
  return String("a\0b", 3U);
}

TEST(INIFileManager, KeepsPathAndSectionForItsCaller) {
  TemporaryDirectory directory;
  const INIFileManager manager = ManagerOf(directory);
  EXPECT_EQ(Exactly(manager.path()), directory.path("a.ini"));
  EXPECT_EQ(Exactly(manager.section()), "S");
}

TEST(INIFileManager, LoadsItsFileWhenItIsMade) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = v\n");
  EXPECT_TRUE(manager.isLoaded());
  String value;
  EXPECT_TRUE(manager.read(manager.section(), "k", value));
  EXPECT_EQ(Exactly(value), "v");
}

TEST(INIFileManager, StartsEmptyWithoutAFile) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory);
  EXPECT_FALSE(manager.isLoaded());
  EXPECT_FALSE(manager.keyPresent("S", "k"));
  EXPECT_TRUE(manager.write("S", "k", "v"));
  EXPECT_TRUE(manager.keyPresent("S", "k"));
  EXPECT_FALSE(directory.has("a.ini"));
}

TEST(INIFileManager, StartsEmptyWithAnEmptyPath) {
  INIFileManager manager("", "S");
  EXPECT_FALSE(manager.isLoaded());
  EXPECT_TRUE(manager.write("S", "k", "v"));
  EXPECT_FALSE(manager.writeFile());
}

TEST(INIFileManager, StartsEmptyOverAFileOfAnotherEncoding) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "\xFF\xFE[\0S\0]\0\n");
  EXPECT_FALSE(manager.isLoaded());
  EXPECT_THAT(Keys(manager, "S"), IsEmpty());
}

TEST(INIFileManager, StartsLoadedOverAnEmptyFile) {
  TemporaryDirectory directory;
  EXPECT_TRUE(ManagerOf(directory, "").isLoaded());
}

TEST(INIFileManager, TakesARelativePathFromTheCurrentDirectory) {
  TemporaryDirectory directory;
  directory.write("a.ini", "[S]\nk = v\n");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  INIFileManager manager("a.ini", "S");
  std::filesystem::current_path(before);
  EXPECT_TRUE(manager.isLoaded());
  EXPECT_EQ(Exactly(manager.path()), "a.ini");
  EXPECT_FALSE(manager.reloadFile());
}

TEST(INIFileManager, RefusesAPathWithAZeroInsteadOfCuttingIt) {
  TemporaryDirectory directory;
  directory.write("a.ini", "[S]\nk = v\n");
  String path(directory.path("a.ini").c_str());
  path.append(1, '\0');
  path.append("b");
  INIFileManager manager(path, "S");
  EXPECT_FALSE(manager.isLoaded());
  EXPECT_FALSE(manager.keyPresent("S", "k"));
  EXPECT_FALSE(manager.writeFile());
  EXPECT_EQ(directory.read("a.ini"), "[S]\nk = v\n");
}

TEST(INIFileManager, ReloadsWhatTheFileHoldsNowAndForgetsWhatWasWritten) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = 1\n");
  EXPECT_TRUE(manager.write("S", "mine", 5));
  directory.write("a.ini", "[S]\nk = 2\n");
  EXPECT_TRUE(manager.reloadFile());
  int value = 0;
  EXPECT_TRUE(manager.read("S", "k", value));
  EXPECT_EQ(value, 2);
  EXPECT_FALSE(manager.keyPresent("S", "mine"));
}

TEST(INIFileManager, IsEmptyAndNotLoadedAfterAReloadThatFailed) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = 1\n");
  std::filesystem::remove(directory.path("a.ini"));
  EXPECT_FALSE(manager.reloadFile());
  EXPECT_FALSE(manager.isLoaded());
  EXPECT_FALSE(manager.keyPresent("S", "k"));
}

TEST(INIFileManager, IsLoadedAfterASuccessfulWriteThatFollowsAFailedLoad) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory);
  EXPECT_TRUE(manager.write("S", "k", "v"));
  EXPECT_TRUE(manager.writeFile());
  EXPECT_TRUE(manager.isLoaded());
  EXPECT_EQ(directory.read("a.ini"), "[S]\nk = \"v\"\n\n");
}

TEST(INIFileManager, StaysNotLoadedAfterAFailedWriteThatFollowsAFailedLoad) {
  TemporaryDirectory directory;
  INIFileManager manager(directory.path("missing/a.ini").c_str(), "S");
  EXPECT_FALSE(manager.writeFile());
  EXPECT_FALSE(manager.isLoaded());
}

TEST(INIFileManager, StaysLoadedAfterAFailedWriteThatFollowsASuccessfulLoad) {
  TemporaryDirectory directory;
  directory.makeDirectory("deep");
  directory.write("deep/a.ini", "[S]\nk = v\n");
  INIFileManager manager(directory.path("deep/a.ini").c_str(), "S");
  ASSERT_TRUE(manager.isLoaded());
  std::filesystem::remove_all(directory.path("deep"));
  EXPECT_FALSE(manager.writeFile());
  EXPECT_TRUE(manager.isLoaded());
  EXPECT_TRUE(manager.keyPresent("S", "k"));
}

TEST(INIFileManager, LeavesTheFileUnchangedWhenItGoesWithoutHavingWritten) {
  TemporaryDirectory directory;
  {
    INIFileManager manager = ManagerOf(directory, "[S]\nk = v\n");
    EXPECT_TRUE(manager.write("S", "k", "other"));
  }
  EXPECT_EQ(directory.read("a.ini"), "[S]\nk = v\n");
}

TEST(INIFileManager, LeavesNothingButTheFileBesideIt) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = v\n");
  EXPECT_TRUE(manager.writeFile());
  const std::filesystem::directory_iterator entries(directory.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST(INIFileManager, ReadsByTheRulesOfANewDocumentAfterEveryReload) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(
      directory,
      "early = 1\n[S]\ncolon : v\nempty =\nsingle = 'q'\ndouble = \"q\"\n[s]\nDOUBLE = \"r\"\n");
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(Keys(manager, "S"), ElementsAre("single", "double"));
    EXPECT_THAT(Keys(manager, "(null)"), IsEmpty());
    String value;
    EXPECT_TRUE(manager.readRaw("S", "single", value));
    EXPECT_EQ(Exactly(value), "'q'");
    EXPECT_TRUE(manager.readRaw("S", "double", value));
    EXPECT_EQ(Exactly(value), "r");
    EXPECT_TRUE(manager.reloadFile());
  }
}

TEST(INIFileManager, WritesByTheRulesOfANewDocumentAfterEveryReload) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk=v\n");
  EXPECT_TRUE(manager.writeRaw("T", "long", std::string(80, 'x').c_str()));
  EXPECT_TRUE(manager.writeFile());
  EXPECT_EQ(directory.read("a.ini"), "[S]\nk = v\n\n[T]\nlong Line0001 = \"" +
                                         std::string(62, 'x') + "\"\nlong Line0002 = \"" +
                                         std::string(18, 'x') + "\"\n\n");
}

TEST(INIFileManager, SaysThatABlankItemIsPresent) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nblank = \" \"\n");
  EXPECT_TRUE(manager.keyPresent("S", "blank"));
  String value;
  EXPECT_FALSE(manager.readRaw("S", "blank", value));
}

TEST(INIFileManager, WritesEveryTypeAsItsText) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory);
  EXPECT_TRUE(manager.write("S", "text", String("tab\t\"quoted\" back\\slash")));
  EXPECT_TRUE(manager.writeRaw("S", "raw", "back\\slash"));
  EXPECT_TRUE(manager.write("S", "yes", true));
  EXPECT_TRUE(manager.write("S", "no", false));
  EXPECT_TRUE(manager.write("S", "long", -7L));
  EXPECT_TRUE(manager.write("S", "unsigned", 7UL));
  EXPECT_TRUE(manager.write("S", "double", 0.1));
  EXPECT_TRUE(manager.writeFile());
  EXPECT_EQ(directory.read("a.ini"),
            "[S]\n"
            "text = \"tab\\t\\\"quoted\\\" back\\\\slash\"\n"
            "raw = \"back\\slash\"\n"
            "yes = True\n"
            "no = False\n"
            "long = -7\n"
            "unsigned = 7\n"
            "double = 1.00000000000000e-01\n"
            "\n");
}

TEST(INIFileManager, KeepsAUsersLongTextAndControlCharactersThroughItsFile) {
  TemporaryDirectory directory;
  const std::string text = std::string(300, 'x') + "\n\t\x01\x7f\\ \"end\"";
  {
    INIFileManager manager = ManagerOf(directory);
    EXPECT_TRUE(manager.write("S", "k", text.c_str()));
    EXPECT_TRUE(manager.writeFile());
  }
  String value;
  EXPECT_TRUE(ManagerOf(directory).read("S", "k", value));
  EXPECT_EQ(Exactly(value), text);
}

TEST(INIFileManager, ReadsTheSectionKestrixWorksWhenTheSectionIsEmpty) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = 1\n[Kestrix Works]\nk = 2\n");
  int value = 0;
  EXPECT_TRUE(manager.read("", "k", value));
  EXPECT_EQ(value, 2);
}

TEST(INIFileManager, ReadsTheKeyDefaultWhenTheKeyIsEmpty) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = 1\nDefault = 2\n");
  int value = 0;
  EXPECT_TRUE(manager.read("S", "", value));
  EXPECT_EQ(value, 2);
}

TEST(INIFileManager, AppliesTheDefaultNamesToEveryQuestionAndRead) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[Kestrix Works]\nDefault = 1\n");
  EXPECT_TRUE(manager.keyPresent("", ""));
  EXPECT_THAT(Keys(manager, ""), ElementsAre("Default"));
  int asInt = 0;
  unsigned asUnsigned = 0;
  long asLong = 0;
  unsigned long asUnsignedLong = 0;
  double asDouble = 0;
  String asText;
  String raw;
  EXPECT_TRUE(manager.read("", "", asInt) && asInt == 1);
  EXPECT_TRUE(manager.read("", "", asUnsigned) && asUnsigned == 1);
  EXPECT_TRUE(manager.read("", "", asLong) && asLong == 1);
  EXPECT_TRUE(manager.read("", "", asUnsignedLong) && asUnsignedLong == 1);
  EXPECT_TRUE(manager.read("", "", asDouble) && asDouble == 1.0);
  EXPECT_TRUE(manager.read("", "", asText) && Exactly(asText) == "1");
  EXPECT_TRUE(manager.readRaw("", "", raw) && Exactly(raw) == "1");
  EXPECT_TRUE(manager.write("", "", true));
  bool asBool = false;
  EXPECT_TRUE(manager.read("", "", asBool) && asBool);
}

/// What a manager writes to a new file after change(manager).
template <typename ChangeT>
std::string Written(ChangeT change) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory);
  EXPECT_TRUE(change(manager));
  EXPECT_TRUE(manager.writeFile());
  return directory.read("a.ini");
}

TEST(INIFileManager, AppliesTheDefaultNamesToEveryWrite) {
  EXPECT_EQ(Written([](INIFileManager& m) { return m.write("", "", "v"); }),
            "[Kestrix Works]\nDefault = \"v\"\n\n");
  EXPECT_EQ(Written([](INIFileManager& m) { return m.writeRaw("", "", "v"); }),
            "[Kestrix Works]\nDefault = \"v\"\n\n");
  EXPECT_EQ(Written([](INIFileManager& m) { return m.write("", "", 1); }),
            "[Kestrix Works]\nDefault = 1\n\n");
  EXPECT_EQ(Written([](INIFileManager& m) { return m.write("", "", 1U); }),
            "[Kestrix Works]\nDefault = 1\n\n");
  EXPECT_EQ(Written([](INIFileManager& m) { return m.write("", "", 1.0); }),
            "[Kestrix Works]\nDefault = 1.00000000000000e+00\n\n");
}

TEST(INIFileManager, DoesNotTakeItsOwnSectionForAnEmptyOne) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = 1\n");
  EXPECT_FALSE(manager.keyPresent("", "k"));
}

TEST(INIFileManager, ComparesNamesWithoutRegardToCase) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[Section]\nKey = 1\n");
  EXPECT_TRUE(manager.keyPresent("sECTION", "kEY"));
}

TEST(INIFileManager, RefusesBlankNames) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory);
  EXPECT_FALSE(manager.write(" ", "k", 1));
  EXPECT_FALSE(manager.write("S", " ", 1));
  EXPECT_FALSE(manager.keyPresent("S", " "));
}

TEST(INIFileManager, RefusesNamesWithAZeroInsteadOfCuttingThem) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[a]\na = 1\n");
  int value = 0;
  EXPECT_FALSE(manager.keyPresent(WithZero(), "a"));
  EXPECT_FALSE(manager.keyPresent("a", WithZero()));
  EXPECT_FALSE(manager.read(WithZero(), "a", value));
  EXPECT_FALSE(manager.read("a", WithZero(), value));
  EXPECT_FALSE(manager.write(WithZero(), "k", 1));
  EXPECT_FALSE(manager.write("a", WithZero(), 1));
  EXPECT_THAT(Keys(manager, WithZero()), IsEmpty());
  EXPECT_THAT(Keys(manager, "a"), ElementsAre("a"));
}

TEST(INIFileManager, RefusesValuesWithAZeroInsteadOfCuttingThem) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = old\n");
  EXPECT_FALSE(manager.write("S", "k", WithZero()));
  EXPECT_FALSE(manager.writeRaw("S", "k", WithZero()));
  EXPECT_FALSE(manager.write("S", "new", WithZero()));
  String value;
  EXPECT_TRUE(manager.read("S", "k", value));
  EXPECT_EQ(Exactly(value), "old");
  EXPECT_FALSE(manager.keyPresent("S", "new"));
}

TEST(INIFileManager, EndsAValueAtAnEscapedZeroWhichTheRawValueShows) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = a\\x00b\n");
  String value;
  EXPECT_TRUE(manager.read("S", "k", value));
  EXPECT_EQ(Exactly(value), "a");
  EXPECT_TRUE(manager.readRaw("S", "k", value));
  EXPECT_EQ(Exactly(value), "a\\x00b");
}

TEST(INIFileManager, UndoesEscapesButNotInRawValues) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = a\\tb\\x41\n");
  String value;
  EXPECT_TRUE(manager.read("S", "k", value));
  EXPECT_EQ(Exactly(value), "a\tbA");
  EXPECT_TRUE(manager.readRaw("S", "k", value));
  EXPECT_EQ(Exactly(value), "a\\tb\\x41");
}

TEST(INIFileManager, ReadsBooleans) {
  TemporaryDirectory directory;
  INIFileManager manager =
      ManagerOf(directory, "[S]\na = TRUE\nb = false\nc = yes\nd = 1\ne = \"tRuE\"\n");
  bool value = false;
  EXPECT_TRUE(manager.read("S", "a", value));
  EXPECT_TRUE(value);
  EXPECT_TRUE(manager.read("S", "b", value));
  EXPECT_FALSE(value);
  EXPECT_TRUE(manager.read("S", "e", value));
  EXPECT_TRUE(value);
  for (const char* const other : {"c", "d", "missing"})
    EXPECT_FALSE(manager.read("S", other, value)) << other;
  EXPECT_TRUE(value);
}

template <typename T>
void ExpectUntouchedBy(const std::string& text) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = " + text + "\nblank = \" \"\n");
  T value = 42;
  EXPECT_FALSE(manager.read("S", "k", value)) << text;
  EXPECT_FALSE(manager.read("S", "blank", value));
  EXPECT_FALSE(manager.read("S", "missing", value));
  EXPECT_FALSE(manager.read("missing", "k", value));
  EXPECT_EQ(value, T(42)) << text;
}

TEST(INIFileManager, LeavesANumberThatIsMissingBlankOrNone) {
  for (const char* const text : {"abc", "1a", "1.5", "0x10"}) {
    ExpectUntouchedBy<long>(text);
    ExpectUntouchedBy<int>(text);
    ExpectUntouchedBy<unsigned long>(text);
    ExpectUntouchedBy<unsigned>(text);
  }
  ExpectUntouchedBy<double>("abc");
}

TEST(INIFileManager, LeavesANumberThatDoesNotFit) {
  ExpectUntouchedBy<long>("2147483648");
  ExpectUntouchedBy<long>("-2147483649");
  ExpectUntouchedBy<int>("2147483648");
  ExpectUntouchedBy<unsigned long>("4294967296");
  ExpectUntouchedBy<unsigned long>("-5");
  ExpectUntouchedBy<unsigned>("-5");
  ExpectUntouchedBy<double>("1e400");
}

TEST(INIFileManager, LeavesATextThatIsMissingOrBlank) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nblank = \" \"\n");
  String value("before");
  EXPECT_FALSE(manager.read("S", "blank", value));
  EXPECT_FALSE(manager.readRaw("S", "blank", value));
  EXPECT_FALSE(manager.read("S", "missing", value));
  EXPECT_FALSE(manager.readRaw("S", "missing", value));
  EXPECT_EQ(Exactly(value), "before");
}

template <typename T>
void ExpectKept(T value) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory);
  EXPECT_TRUE(manager.write("S", "k", value)) << value;
  T found = T(1);
  EXPECT_TRUE(manager.read("S", "k", found)) << value;
  EXPECT_EQ(found, value);
}

TEST(INIFileManager, KeepsTheLimitsOf32Bits) {
  ExpectKept<long>(INT_MIN);
  ExpectKept<long>(INT_MAX);
  ExpectKept<unsigned long>(0);
  ExpectKept<unsigned long>(UINT_MAX);
  ExpectKept<std::int32_t>(INT_MIN);
  ExpectKept<std::int32_t>(INT_MAX);
  ExpectKept<std::uint32_t>(UINT_MAX);
}

TEST(INIFileManager, KeepsDoublesToFifteenDigits) {
  ExpectKept(0.0);
  ExpectKept(-1.5);
  ExpectKept(1e300);
  ExpectKept(std::numeric_limits<double>::infinity());
  ExpectKept(-std::numeric_limits<double>::infinity());
}

template <typename Long>
void ExpectRefused(Long value) {
  TemporaryDirectory directory;
  INIFileManager manager = ManagerOf(directory, "[S]\nk = 3\n");
  EXPECT_FALSE(manager.write("S", "k", value)) << value;
  Long found = 0;
  EXPECT_TRUE(manager.read("S", "k", found));
  EXPECT_EQ(found, Long{3});
}

TEST(INIFileManager, KeepsALongOf32BitsAndRefusesAnyOtherInsteadOfCuttingIt) {
  for (const auto value : LongsAroundTheLimits<long>())
    FitsInt32(value) ? ExpectKept(value) : ExpectRefused(value);
  for (const auto value : LongsAroundTheLimits<unsigned long>())
    FitsUint32(value) ? ExpectKept(value) : ExpectRefused(value);
}

struct SomeClass {
  int member;
};

/// Whether a manager takes a T as a value to write.
template <typename T, typename = void>
struct Takes : std::false_type {};
template <typename T>
struct Takes<T,
             std::void_t<decltype(std::declval<INIFileManager&>().write(
                 std::declval<const String&>(), std::declval<const String&>(), std::declval<T>()))>>
    : std::true_type {};

TEST(INIFileManager, TakesNoPointerForABoolean) {
  static_assert(Takes<const char*>::value && Takes<char*>::value && Takes<String>::value);
  static_assert(!Takes<const wchar_t*>::value && !Takes<wchar_t*>::value);
  static_assert(!Takes<const void*>::value && !Takes<String*>::value);
  static_assert(!Takes<void (*)()>::value && !Takes<int SomeClass::*>::value);
  EXPECT_EQ(Written([](INIFileManager& m) { return m.write("S", "k", "False"); }),
            "[S]\nk = \"False\"\n\n");
  char text[] = "changeable";
  EXPECT_EQ(Written([&](INIFileManager& m) { return m.write("S", "k", text); }),
            "[S]\nk = \"changeable\"\n\n");
}

TEST(INIFileManager, WritesANullPointerAsEmptyText) {
  const char* const nothing = nullptr;
  EXPECT_EQ(Written([&](INIFileManager& m) { return m.write("S", "k", nothing); }),
            "[S]\nk = \"\"\n\n");
}

TEST(INIFileManager, ListsKeysInTheOrderOfTheDocument) {
  TemporaryDirectory directory;
  INIFileManager manager =
      ManagerOf(directory, "[S]\nzeta = 1\nAlpha = 2\n[T]\nother = 1\n[S]\nmid = 3\n");
  EXPECT_TRUE(manager.write("S", "last", 4));
  EXPECT_TRUE(manager.write("S", "ALPHA", 5));
  EXPECT_THAT(Keys(manager, "S"), ElementsAre("zeta", "Alpha", "mid", "last"));
  EXPECT_THAT(Keys(manager, "T"), ElementsAre("other"));
}

TEST(INIFileManager, ReplacesTheListOfKeysAndReservesRoomForAllOfThem) {
  TemporaryDirectory directory;
  const INIFileManager manager = ManagerOf(directory, "[S]\na = 1\nb = 2\nc = 3\nd = 4\n");
  Vector<String> keys;
  keys.push_back("old");
  manager.enumKeys("S", keys);
  ASSERT_EQ(keys.size(), 4U);
  EXPECT_EQ(keys.capacity(), 4U);
  EXPECT_EQ(Exactly(keys[0]), "a");
}

TEST(INIFileManager, ListsNoKeysOfAMissingSection) {
  TemporaryDirectory directory;
  const INIFileManager manager = ManagerOf(directory, "[S]\na = 1\n");
  Vector<String> keys;
  keys.push_back("old");
  manager.enumKeys("missing", keys);
  EXPECT_EQ(keys.size(), 0U);
}

}  // namespace
