#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/LoadedEngine.h"
#include "tests/engine/TraceFile.h"

namespace qv::tests {
namespace {

class GetInterface : public testing::Test {
 protected:
  TraceFile file_;
  kit::StatusChain status_;
};

TEST_F(GetInterface, GivesTheEngineAndAGoodStatus) {
  EXPECT_NE(LoadedEngine::EntryPoint()(0, status_), nullptr);
  EXPECT_EQ(status_.code(), 0);
}

TEST_F(GetInterface, HasOneVersionOnly) {
  // The last has no low bits and, where an unsigned long has 32 bits, is the version that there is.
  for (const unsigned long version : {1UL, 2UL, ~0UL, ~0UL - 0xFFFFFFFFUL}) {
    status_.clear();
    EXPECT_EQ(LoadedEngine::EntryPoint()(version, status_) != nullptr, version == 0) << version;
    EXPECT_EQ(status_.code() < 0, version != 0) << version;
  }
}

TEST_F(GetInterface, GivesOneEngineToAProcess) {
  const LoadedEngine engine;
  EXPECT_EQ(LoadedEngine::Interface(), engine.get());
  EXPECT_EQ(LoadedEngine::Interface(), engine.get());
}

TEST_F(GetInterface, GivesNoReferenceSoThatTheFirstOneReleasedIsTheLast) {
  LoadedEngine engine;
  LoadedEngine::Interface();
  engine.send("one");
  engine.release();
  EXPECT_EQ(file_.records().size(), 1u);
}

TEST_F(GetInterface, KeepsTheEngineWorkingUntilTheLastReferenceIsGone) {
  LoadedEngine a;
  LoadedEngine b;
  a.send("one");
  a.release();
  b.send("two");
  b.release();
  EXPECT_EQ(file_.records().size(), 2u);
}

TEST_F(GetInterface, GivesAPointerThatOutlivesTheReferencesOfOthers) {
  LoadedEngine first;
  auto* late = dynamic_cast<traceengine::ITraceEngine*>(LoadedEngine::Interface());
  first.release();
  late->addRef();
  traceengine::LoggingBlock* block = late->getFreeBlock();
  ASSERT_NE(block, nullptr);
  Fill(*block, "late");
  late->sendBlock(block);
  late->release();
  EXPECT_EQ(file_.records(), std::vector<std::string>{"late"});
}

TEST_F(GetInterface, ReadsTheEnvironmentAnewAfterTheLastReferenceIsGone) {
  LoadedEngine().send("one");
  ::setenv("QV_TRACE_OUTPUT", file_.directory().path("other.log").c_str(), 1);
  LoadedEngine().send("two");
  EXPECT_EQ(file_.records(), std::vector<std::string>{"one"});
  EXPECT_EQ(file_.records("other.log"), std::vector<std::string>{"two"});
}

TEST_F(GetInterface, LeavesNoThreadAndNoFileBehindTheLastReference) {
  const auto count = [](const char* directory) {
    std::filesystem::directory_iterator entries(directory);
    return std::distance(begin(entries), end(entries));
  };
  { LoadedEngine().send("a sanitizer may start a thread of its own with the first"); }
  const auto threads = count("/proc/self/task");
  const auto files = count("/proc/self/fd");
  { LoadedEngine().send("one"); }
  // A thread that was joined may be listed for a moment.
  while (count("/proc/self/task") != threads)
    std::this_thread::yield();
  EXPECT_EQ(count("/proc/self/fd"), files);
}

TEST_F(GetInterface, StaysCallableWhenTheLibraryWasClosed) {
  void* library = ::dlopen(QV_ENGINE_FILE, RTLD_NOW);
  ASSERT_NE(library, nullptr);
  auto* entryPoint = reinterpret_cast<GetInterfaceFunction*>(::dlsym(library, "GetInterface"));
  ASSERT_EQ(::dlclose(library), 0);
  EXPECT_NE(entryPoint(0, status_), nullptr);
  LoadedEngine().send("one");
  EXPECT_EQ(file_.records().size(), 1u);
}

TEST_F(GetInterface, IsFoundUnderTheNameOfItsFileOnceLoaded) {
  LoadedEngine::Library();
  void* library = ::dlopen("libqv_traceengine.dylib", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr);
  ::dlclose(library);
}

TEST_F(GetInterface, IsAllThatTheLibraryOffers) {
  void* library = LoadedEngine::Library();
  EXPECT_NE(::dlsym(library, "GetInterface"), nullptr);
  EXPECT_EQ(::dlsym(library, "_ZTIN2qv11traceengine11TraceEngineE"), nullptr);
}

}  // namespace
}  // namespace qv::tests
