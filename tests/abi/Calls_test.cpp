#include "tests/abi/calls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include "engine/BlockPool.h"
#include "kit/osdep/Bundle.h"
#include "kit/osdep/SharedLibrary.h"
#include "source/client/MyTraceLogger.h"
#include "source/client/TraceTag.h"
#include "source/utils/LoggingBlock.h"
#include "tests/doubles/ObjectLayout.h"
#include "tests/doubles/ScriptedBundleServices.h"
#include "tests/doubles/engine/EngineDouble.h"
#include "tests/engine/FilledBlock.h"
#include "tests/engine/TraceFile.h"
#include "tests/kit/exception/ExceptionRows.h"

// Objects of ours in the hands of a module in plain C: each call goes through calls.c.

namespace qv::tests {
namespace {

using kit::osdep::Bundle;
using kit::osdep::SharedLibrary;
using testing::ElementsAre;
using traceengine::BlockPool;
using traceengine::LoggingBlock;
using traceengine::MyTraceLogger;
using traceengine::TraceTag;

// Destructors

/// Tells when it ends and when its memory is given back, and has an operation more than its base.
template <typename Base>
class Observed : public Base {
 public:
  using Base::Base;
  ~Observed() override { ++ends; }
  virtual void operationOfItsOwn() { ++calls; }

  static void* operator new(std::size_t size) { return ::operator new(size); }
  static void operator delete(void* object) {
    ++deletions;
    ::operator delete(object);
  }

  static inline int ends = 0;
  static inline int deletions = 0;
  static inline int calls = 0;
};

/// The operations of Base are those of the table, from the destructors to the last.
template <typename Base, typename Operations, typename... Arguments>
void ExpectDestructorsFirstAndNothingBehind(const Arguments&... arguments) {
  using Object = Observed<Base>;
  Object::ends = Object::deletions = Object::calls = 0;
  alignas(Object) unsigned char place[sizeof(Object)];
  auto* const inPlace = ::new (place) Object(arguments...);
  CallSlot(inPlace, QV_SLOT_COUNT(Operations));
  EXPECT_EQ(Object::calls, 1);
  CallDestructor(inPlace);
  EXPECT_EQ(Object::ends, 1);
  EXPECT_EQ(Object::deletions, 0);
  CallDeletingDestructor(new Object(arguments...));
  EXPECT_EQ(Object::ends, 2);
  EXPECT_EQ(Object::deletions, 1);
}

TEST(LoggingBlockInC, IsEndedAndDeletedAndNothingElse) {
  ExpectDestructorsFirstAndNothingBehind<LoggingBlock, Destructors>(nullptr);
}

TEST(TraceTagInC, IsEndedAndDeletedAndNothingElse) {
  ExpectDestructorsFirstAndNothingBehind<TraceTag, Destructors>();
}

TEST(MyTraceLoggerInC, IsEndedAndDeletedAndNothingElse) {
  const InstalledEngine installed;
  ExpectDestructorsFirstAndNothingBehind<MyTraceLogger, Destructors>("module");
  EXPECT_EQ(InstalledEngine::journal().count("unloaded"), 2U);
}

// Exceptions

TEST(ExceptionInC, IsEndedAndDeletedAndHasTwoOperationsMore) {
  using namespace kit::exception;
  ExpectDestructorsFirstAndNothingBehind<Exception, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<InvalidArgument, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<InvalidArgument2, ExceptionOperations>("text");
  ExpectDestructorsFirstAndNothingBehind<OutOfRange, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<OutOfRange2, ExceptionOperations>("text");
  ExpectDestructorsFirstAndNothingBehind<BoundExceeded, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<BoundExceeded2, ExceptionOperations>("text");
  ExpectDestructorsFirstAndNothingBehind<ObjectAlreadyExists, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<NonexistentException, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<InvalidOperation, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<FileWriteFailed, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<FileReadFailed, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<DeserializationError, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<BufferOverflow, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<AccessDenied, ExceptionOperations>(L"/srv");
  ExpectDestructorsFirstAndNothingBehind<FileAlreadyExists, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<InvalidLocale, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<InvalidSequence, ExceptionOperations>();
  ExpectDestructorsFirstAndNothingBehind<UnableToConvert, ExceptionOperations>();
}

TEST(ExceptionInC, OfTheSystemIsEndedAndDeletedAndHasThreeOperationsMore) {
  using namespace kit::osdep;
  ExpectDestructorsFirstAndNothingBehind<OSException, OSExceptionOperations>("text", 13U);
  ExpectDestructorsFirstAndNothingBehind<PosixError, OSExceptionOperations>("text", 13);
  ExpectDestructorsFirstAndNothingBehind<CarbonError, OSExceptionOperations>(short{-43});
}

TEST(ExceptionInC, TellsItsMessageAndItsCodeInEveryClass) {
  for (const ExceptionRow& row : ExceptionRows()) {
    EXPECT_STREQ(CallWhat(row.exception.get()), row.what);
    EXPECT_EQ(CallGetErrorCode(row.exception.get()), row.code) << row.what;
  }
}

TEST(ExceptionInC, OfTheSystemTellsItsCodeToo) {
  const kit::osdep::OSException general("text", 13);
  EXPECT_EQ(CallWhatcode(&general), 13U);
  const kit::osdep::PosixError posix("text", 2);
  EXPECT_EQ(CallWhatcode(&posix), 2U);
  const kit::osdep::CarbonError carbon(-43);
  EXPECT_EQ(CallWhatcode(&carbon), 0xFFFFFFD5U);
}

// Libraries

/// The engine double, which tells when its library is unloaded.
struct SharedLibraryInC : testing::Test {
  const std::string file = EngineFile(kGoodEngine);
  EngineJournal& journal = InstalledEngine::journal();
  SharedLibraryInC() { journal.reset(); }
};

TEST_F(SharedLibraryInC, IsEndedAndDeletedAndHasTwoOperationsMore) {
  ExpectDestructorsFirstAndNothingBehind<SharedLibrary, SharedLibraryOperations>(file.c_str(), true,
                                                                                 false);
  EXPECT_THAT(journal.lines(), ElementsAre("unloaded", "unloaded"));
}

TEST_F(SharedLibraryInC, UnloadsAndLoads) {
  SharedLibrary library(file.c_str(), true, false);
  CallUnload(&library);
  EXPECT_FALSE(library.isLoaded());
  EXPECT_THAT(journal.lines(), ElementsAre("unloaded"));
  CallLoad(&library);
  EXPECT_TRUE(library.isLoaded());
}

TEST(BundleInC, IsEndedAndDeletedAndNothingElse) {
  ScriptedBundleServices services;
  services.addBundle(L"user frameworks foo.bundle");
  ExpectDestructorsFirstAndNothingBehind<Bundle, Destructors>(L"foo");
  EXPECT_EQ(services.openBundles(), 0);
}

// Interfaces

/// Counts the calls of an operation behind those of the interface.
class CountedReferences final : public kit::IRefCounted {
 public:
  void addRef() override {}
  void release() override {}
  virtual void operationOfItsOwn() { ++calls; }
  int calls = 0;
};

class CountedEngine final : public traceengine::ITraceEngine {
 public:
  void addRef() override {}
  void release() override {}
  void sendBlock(LoggingBlock* /*block*/) override {}
  LoggingBlock* getFreeBlock() override { return nullptr; }
  bool showTagNames() override { return false; }
  void getConfigDirectory(kit::WString& /*directory*/) override {}
  void noteDroppedRecord() override {}
  virtual void operationOfItsOwn() { ++calls; }
  int calls = 0;
};

class CountedFactory final : public traceengine::ILoggingBlockFactory {
 public:
  LoggingBlock* giveOut() override { return nullptr; }
  void takeBack(LoggingBlock* /*block*/) override {}
  virtual void operationOfItsOwn() { ++calls; }
  int calls = 0;
};

template <typename Object, typename Operations>
void ExpectNothingBehind() {
  Object object;
  CallSlot(&object, QV_SLOT_COUNT(Operations));
  EXPECT_EQ(object.calls, 1);
}

TEST(InterfaceInC, HasNoOperationBehindThoseOfItsTable) {
  ExpectNothingBehind<CountedReferences, RefCountedOperations>();
  ExpectNothingBehind<CountedEngine, TraceEngineOperations>();
  ExpectNothingBehind<CountedFactory, LoggingBlockFactoryOperations>();
}

// Engines

GetInterfaceFunction* EntryPoint(const SharedLibrary& library) {
  return reinterpret_cast<GetInterfaceFunction*>(library.getFunctionPointer("GetInterface", false));
}

/// A text as C makes it, to be filled by somebody else.
struct WideText : WideStringLayout {
  WideText() : WideStringLayout() {
    begin = end = capacityEnd = static_cast<wchar_t*>(std::calloc(1, sizeof(wchar_t)));
  }
  WideText(const WideText&) = delete;
  WideText& operator=(const WideText&) = delete;
  ~WideText() { std::free(begin); }
};

struct EngineInC : testing::Test {
  EngineJournal& journal = InstalledEngine::journal();
  EngineScript& script = InstalledEngine::script();
  const SharedLibrary library{EngineFile(kGoodEngine).c_str(), true, false};
  GetInterfaceFunction* const entryPoint = EntryPoint(library);
  StatusChainLayout status{{-1, nullptr}, nullptr};
  EngineInC() { journal.reset(); }
};

TEST_F(EngineInC, IsGivenForAVersionAndAStatus) {
  script.entryCode = 5;
  void* const engine = CallGetInterface(entryPoint, 3, &status);
  EXPECT_EQ(status.current.code, 5);
  EXPECT_THAT(journal.lines(), ElementsAre("GetInterface(3) at FFFFFFFF"));
  CallAddRef(engine);
  CallRelease(engine);
}

TEST_F(EngineInC, CountsReferencesAsEveryInterfaceDoes) {
  for (const EngineScript::Entry entry :
       {EngineScript::Entry::Good, EngineScript::Entry::OtherInterface}) {
    script.entry = entry;
    void* const object = CallGetInterface(entryPoint, 0, &status);
    journal.clear();
    CallAddRef(object);
    CallAddRef(object);
    CallRelease(object);
    EXPECT_THAT(journal.lines(), ElementsAre("addRef", "addRef", "release"));
    journal.clear();
    CallRelease(object);
    EXPECT_THAT(journal.lines(), ElementsAre("release", "destroyed"));
  }
}

TEST_F(EngineInC, DoesWhatItsClientsAskFor) {
  script.configDirectory = L"/opt/kestrix";
  void* const engine = CallGetInterface(entryPoint, 0, &status);
  CallAddRef(engine);
  journal.clear();
  for (const bool shows : {false, true}) {
    script.showTagNames = shows;
    EXPECT_EQ(CallShowTagNames(engine), shows);
  }
  WideText directory;
  CallGetConfigDirectory(engine, &directory);
  EXPECT_EQ(TextOf(directory), L"/opt/kestrix");
  CallNoteDroppedRecord(engine);
  EXPECT_THAT(journal.lines(), ElementsAre("showTagNames", "showTagNames", "getConfigDirectory",
                                           "noteDroppedRecord"));
  CallRelease(engine);
}

TEST_F(EngineInC, GivesOutBlocksAndTakesThemFilled) {
  script.hasBlocks = false;
  void* const engine = CallGetInterface(entryPoint, 0, &status);
  CallAddRef(engine);
  EXPECT_EQ(CallGetFreeBlock(engine), nullptr);
  script.hasBlocks = true;
  LoggingBlockLayout* const block = CallGetFreeBlock(engine);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block->used, 0);
  EXPECT_EQ(block->enginesOwn, EngineJournal::kEnginesOwn);
  EXPECT_EQ(block->type, EngineJournal::kType);
  FillBlock(block, "text", {{1, 2, 3, 4}});
  CallSendBlock(engine, block);
  ASSERT_EQ(journal.blocks().size(), 1U);
  const SentBlock sent = journal.blocks()[0];
  EXPECT_EQ(sent.text(), std::string("text\0", 5));
  EXPECT_THAT(sent.timeStamp, ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(sent.enginesOwn, EngineJournal::kEnginesOwn);
  EXPECT_EQ(sent.type, EngineJournal::kType);
  CallRelease(engine);
}

TEST(LoggingBlockFactoryInC, GivesOutABlockAgainThatItHasTakenBack) {
  BlockPool pool(1);
  auto* const factory = static_cast<traceengine::ILoggingBlockFactory*>(&pool);
  LoggingBlockLayout* const block = CallGiveOut(factory);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(static_cast<void*>(block->factory), factory);
  EXPECT_EQ(CallGiveOut(factory), nullptr);
  CallTakeBack(factory, block);
  EXPECT_EQ(CallGiveOut(factory), block);
}

TEST(OurEngineInC, WritesWhatAClientInPlainCSends) {
  TraceFile file;
  ::setenv("QV_TRACE_BLOCKS", "1", 1);
  ::setenv("QV_TRACE_CONFIG_DIR", "/opt/kestrix/trace", 1);
  ::setenv("QV_TRACE_TAG_NAMES", "no", 1);
  const SharedLibrary library(QV_OUR_ENGINE, true, false);
  StatusChainLayout status{{-1, nullptr}, nullptr};
  void* const engine = CallGetInterface(EntryPoint(library), 0, &status);
  ASSERT_EQ(status.current.code, 0);
  CallAddRef(engine);
  EXPECT_FALSE(CallShowTagNames(engine));
  WideText directory;
  CallGetConfigDirectory(engine, &directory);
  EXPECT_EQ(TextOf(directory), L"/opt/kestrix/trace");
  LoggingBlockLayout* const block = CallGetFreeBlock(engine);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(CallGetFreeBlock(engine), nullptr);
  CallNoteDroppedRecord(engine);
  FillBlock(block, "a record", LayoutOf<FixedPointLayout>(kStamp));
  CallSendBlock(engine, block);
  CallRelease(engine);
  EXPECT_THAT(file.directory().read("trace.log"), testing::HasSubstr(kStampText + " a record\n"));
  EXPECT_THAT(file.records(), ElementsAre("a record"));
  EXPECT_EQ(file.dropped(), 1U);
}

}  // namespace
}  // namespace qv::tests
