#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "qvini/fileNames.h"
#include "qvini/qvini.h"
#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::FailingAllocator;
using qv::tests::TemporaryDirectory;
using qv::tests::TestDocument;
using Texts = std::vector<std::string>;

// What work gives when its first allocation fails, then when its second one fails and so on, until
// none does: that result is the last. check is called after each.
std::vector<int> ResultsOfFailures(const std::function<int()>& work,
                                   const std::function<void(int)>& check) {
  std::vector<int> results;
  for (std::uint32_t n = 1;; ++n) {
    int result = 0;
    bool failed = false;
    {
      FailingAllocator allocator;
      allocator.FailCall(n);
      result = work();
      failed = allocator.sizes().size() >= n;
    }
    results.push_back(result);
    check(result);
    if (!failed) return results;
  }
}

// As IniRead takes them, without memory of its own.
struct Source {
  const char* const* lines;
  std::size_t done = 0;

  static int Next(void* source, char* buffer, std::size_t size) {
    auto* const self = static_cast<Source*>(source);
    const char* const line = *self->lines;
    if (line == nullptr) return kIniInputEnd;
    const std::string_view text(line + self->done);
    const std::size_t count = text.copy(buffer, size - 1);
    buffer[count] = '\0';
    self->done += count;
    if (count < text.size()) return kIniInputPart;
    ++self->lines;
    self->done = 0;
    return kIniInputLine;
  }
};

int Discard(void* /*sink*/, const char* /*line*/) {
  return 0;
}

TEST(NoMemory, ForADocumentGivesNull) {
  std::vector<int> made;
  for (std::uint32_t n = 1; n <= 5; ++n) {
    FailingAllocator allocator;
    allocator.FailCall(n);
    IniDocument* const document = IniNew(0);
    made.push_back(document != nullptr);
    IniDispose(document);
  }
  EXPECT_EQ(made, (std::vector<int>{0, 0, 0, 0, 1})) << "document, list, path and cache";
}

TEST(NoMemory, ForAFirstPutLeavesTheDocumentEmpty) {
  const TestDocument document;
  const auto put = [&] { return IniPut(document, "section", "key", "value", 34); };
  const std::vector<int> results = ResultsOfFailures(put, [&](int result) {
    if (result != 1) {
      EXPECT_EQ(document.lines(), Texts{});
    }
  });
  // Section, its name; entry; the list of entries, the list of sections.
  EXPECT_EQ(results, (std::vector<int>{-12, -12, -12, 0, 0, 1}));
  EXPECT_EQ(document.lines(), (Texts{"[section]", "key = \"value\"", ""}));
}

TEST(NoMemory, ForAnotherEntryLeavesTheOthers) {
  const TestDocument document({"[s]", "a = 1", "b = 2", "c = 3", "d = 4"});
  const Texts before = document.lines();
  const auto put = [&] { return IniPut(document, "s", "e", "5", 0); };
  const std::vector<int> results = ResultsOfFailures(put, [&](int result) {
    if (result != 1) {
      EXPECT_EQ(document.lines(), before);
    }
  });
  EXPECT_EQ(results, (std::vector<int>{-12, 0, 1}));
  EXPECT_EQ(document.keys("s"), (Texts{"a", "b", "c", "d", "e"}));
}

TEST(NoMemory, ForANewValueLeavesTheOldOne) {
  const TestDocument document({"[s]", "k = \"old\""});
  const Texts before = document.lines();
  const auto put = [&] { return IniPut(document, "s", "k", "new", 0); };
  const std::vector<int> results = ResultsOfFailures(put, [&](int result) {
    if (result != 1) {
      EXPECT_EQ(document.lines(), before);
    }
  });
  EXPECT_EQ(results, (std::vector<int>{-12, 1}));
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = new", ""}));
}

TEST(NoMemory, ForAnEscapedCopyLeavesTheOldValue) {
  const TestDocument document({"[s]", "k = old"});
  const Texts before = document.lines();
  const auto put = [&] { return IniPutString(document, "s", "k", "\t"); };
  const std::vector<int> results = ResultsOfFailures(put, [&](int result) {
    if (result != 1) {
      EXPECT_EQ(document.lines(), before);
    }
  });
  EXPECT_EQ(results, (std::vector<int>{-12, -12, 1}));
  EXPECT_EQ(document.value("s", "k"), R"(\t)");
}

TEST(NoMemory, ForAnIndexMakesLookUpsSlowerAndNothingElse) {
  Texts lines{"[s]"};
  for (int i = 0; i < 500; ++i)
    lines.push_back("key" + std::to_string(i) + " = " + std::to_string(i));
  const TestDocument document(lines);
  IniPut(document, "s", "new", "put", 0);
  document->caseSensitive = 1;
  FailingAllocator allocator;
  allocator.FailFrom(1);
  const char* value = nullptr;
  for (const char* key : {"key0", "key250", "key499"}) {
    EXPECT_EQ(IniGet(document, "s", key, &value), 1);
    EXPECT_STREQ(value, key + 3);
  }
  EXPECT_EQ(IniGet(document, "s", "KEY0", &value), 0);
  allocator.Relent();
  EXPECT_EQ(IniGet(document, "s", "key499", &value), 1);
  EXPECT_STREQ(value, "499");
}

TEST(NoMemory, ForALargerIndexKeepsTheOneThereIs) {
  const TestDocument document;
  for (int i = 0; i < 2000; ++i) {
    const std::string key = "key" + std::to_string(i);
    IniPut(document, "s", key.c_str(), "v", 0);
    const std::string last = "KEY" + std::to_string(i);
    FailingAllocator allocator;
    allocator.FailFrom(1);
    ASSERT_EQ(IniItemExists(document, "s", last.c_str()), 1);
    ASSERT_EQ(IniItemExists(document, "s", "key0"), 1);
    ASSERT_EQ(IniItemExists(document, "s", "other"), 0);
  }
}

TEST(NoMemory, WhileReadingLeavesAnEmptyDocument) {
  Texts lines{"[s]", "k = v", "k = w", "[t]", "a Line1 = x", "a Line2 = y"};
  lines.push_back("long = " + std::string(600, 'x'));
  for (int i = 0; i < 40; ++i)
    lines.push_back("[section" + std::to_string(i) + "]");
  std::vector<const char*> texts;
  for (const std::string& line : lines)
    texts.push_back(line.c_str());
  texts.push_back(nullptr);

  const TestDocument expected(lines);
  const TestDocument document;
  document->maxLineLength = expected->maxLineLength = kIniNoLineLimit;
  const auto read = [&] {
    Source source{texts.data()};
    return IniRead(document, Source::Next, &source);
  };
  const std::vector<int> results = ResultsOfFailures(read, [&](int result) {
    EXPECT_EQ(document.lines(), result == 0 ? expected.lines() : Texts{});
    EXPECT_EQ(document->lastSection, nullptr);
  });
  EXPECT_EQ(results.front(), -12);
  EXPECT_EQ(results.back(), 0);
  // An index that cannot be made fails nothing; these lines need two of them.
  EXPECT_GT(std::count(results.begin(), results.end(), -12), 100);
  EXPECT_EQ(std::count(results.begin(), results.end(), -12) +
                std::count(results.begin(), results.end(), 0),
            static_cast<std::ptrdiff_t>(results.size()));
}

TEST(NoMemory, WhileReadingAFileLeavesAnEmptyDocumentAndTheRememberedPath) {
  const TemporaryDirectory directory;
  directory.write("first");
  directory.write("second", "[s]\nk = v\nk2 Line1 = v\n");
  const TestDocument document;
  ASSERT_EQ(IniReadFromFile(document, directory.path("first").c_str()), 0);
  const std::string path = directory.path("second");
  const auto read = [&] { return IniReadFromFile(document, path.c_str()); };
  const std::vector<int> results = ResultsOfFailures(read, [&](int result) {
    EXPECT_EQ(document.lines().empty(), result != 0);
    EXPECT_EQ(document->path, result == 0 ? path : directory.path("first"));
  });
  EXPECT_EQ(std::count(results.begin(), results.end(), -12),
            static_cast<std::ptrdiff_t>(results.size()) - 1);
}

TEST(NoMemory, ForTheNameOfAFileToBeReadLeavesTheDocument) {
  const TemporaryDirectory directory;
  directory.write("file", "[s]\nk = v\n");
  const std::string path = directory.path("file");
  const TestDocument document({"[old]", "k = v"});
  const Texts before = document.lines();
  int result = 0;
  {
    FailingAllocator allocator;
    allocator.FailCall(1);
    result = IniReadFromFile(document, path.c_str());
  }
  EXPECT_EQ(result, kIniOutOfMemory);
  EXPECT_EQ(document.lines(), before);
}

TEST(NoMemory, WhileWritingEndsIt) {
  const TestDocument document({"[s]"});
  IniPut(document, "s", "k", std::string(1000, 'x').c_str(), 0);
  document->maxLineLength = kIniNoLineLimit;
  const auto write = [&] { return IniWrite(document, Discard, nullptr); };
  EXPECT_EQ(ResultsOfFailures(write, [](int) {}), (std::vector<int>{-12, -12, -12, 0}))
      << "256, 512 and 1024 bytes for a line";
}

TEST(NoMemory, WhileWritingAFileLeavesTheOldOne) {
  const TemporaryDirectory directory;
  const TestDocument document({"[s]", "k = v"});
  directory.makeLink("file", "link");
  const std::string path = directory.path("link");
  for (const unsigned flags : {2U, 6U}) {
    document->writeFlags = flags;
    directory.write("file", "old");
    const auto write = [&] { return IniWriteToFile(document, path.c_str()); };
    const std::vector<int> results = ResultsOfFailures(write, [&](int result) {
      EXPECT_EQ(directory.read("file"), result == 0 ? "[s]\nk=v\n\n" : "old");
      EXPECT_FALSE(directory.has("file.TMP"));
      if (result == 0) directory.write("file", "old");
    });
    // The remembered path; the path, the link's text and where it leads; the same for what is no
    // link any more; the temporary name; a line. The directory's name is for its own sake.
    EXPECT_EQ(results, (std::vector<int>{-12, -12, -12, -12, -12, -12, -12, 0, 0}));
  }
}

TEST(NoMemory, ForTheStringCacheLeavesItAsItWas) {
  const TestDocument document({"[s]", "short = text"});
  IniPut(document, "s", "long", std::string(5000, 'x').c_str(), 0);
  const char* value = nullptr;
  ASSERT_EQ(IniGetPointerToString(document, "s", "short", &value), 1);
  FailingAllocator allocator;
  allocator.FailFrom(1);
  const char* other = "untouched";
  EXPECT_EQ(IniGetPointerToRawString(document, "s", "long", &other), -12);
  EXPECT_EQ(IniGetPointerToString(document, "s", "long", &other), -12);
  EXPECT_EQ(SetStringCacheSize(&document->stringCache, 5000), -12);
  EXPECT_STREQ(other, "untouched");
  EXPECT_STREQ(value, "text");
  EXPECT_EQ(document->stringCache.size, 256U);
  EXPECT_EQ(IniGetPointerToRawString(document, "s", "short", &other), 1) << "needs none";
}

TEST(NoMemory, ForFileNamesGivesNull) {
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_EQ(qvini_DirectoryOf("/a/b"), nullptr);
  EXPECT_EQ(qvini_UniqueNameTemplate("/a/b"), nullptr);
  EXPECT_EQ(qvini_NameWithExtensionTmp("/a/b"), nullptr);
  EXPECT_EQ(qvini_FollowLinks("/a/b"), nullptr);
}

}  // namespace
