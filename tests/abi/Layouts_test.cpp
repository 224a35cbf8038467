#include "abi/layout.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <thread>
#include <type_traits>

#include "kit/AbsTime.h"
#include "kit/AutoBuffer.h"
#include "kit/AutoBufferGuts.h"
#include "kit/FixedPoint128.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "kit/TimeAbsolute.h"
#include "kit/TimeValue.h"
#include "kit/Vector.h"
#include "kit/exception/AccessDenied.h"
#include "kit/exception/BoundExceeded2.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/CarbonError.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/FileAlreadyExists.h"
#include "kit/exception/FileReadFailed.h"
#include "kit/exception/FileWriteFailed.h"
#include "kit/exception/InvalidArgument2.h"
#include "kit/exception/InvalidLocale.h"
#include "kit/exception/InvalidOperation.h"
#include "kit/exception/InvalidSequence.h"
#include "kit/exception/NonexistentException.h"
#include "kit/exception/ObjectAlreadyExists.h"
#include "kit/exception/OutOfRange2.h"
#include "kit/exception/PosixError.h"
#include "kit/exception/UnableToConvert.h"
#include "kit/osdep/AtomicInt.h"
#include "kit/osdep/BinaryFile.h"
#include "kit/osdep/Bundle.h"
#include "kit/osdep/SharedLibrary.h"
#include "kit/osdep/ThreadID.h"
#include "source/client/TraceTag.h"
#include "source/client/TraceTagEE.h"
#include "source/utils/LoggingBlock.h"
#include "tests/doubles/MyTraceLoggerProbe.h"
#include "tests/doubles/ObjectLayout.h"
#include "tests/doubles/ScriptedBundleServices.h"
#include "tests/doubles/engine/EngineDouble.h"

// Each class has its members where layout.h says.

namespace qv::tests {
namespace {

using namespace kit;
using namespace kit::exception;
using kit::osdep::CarbonError;
using kit::osdep::OSException;
using kit::osdep::PosixError;
using kit::osdep::SharedLibrary;
using nQVSS100::tFixedPoint128;
using nQVSS100::tSSTimeAbsolute;
using nQVSS100::tSSTimeValue;
using testing::ElementsAre;
using testing::ElementsAreArray;
using traceengine::LoggingBlock;
using traceengine::MyTraceLogger;
using traceengine::TraceTag;
using traceengine::TraceTagEE;

/// Whether classes are as large as the layout; LayoutOf asks the same of the objects that it gets.
template <typename Layout, typename... Classes>
constexpr bool kFits =
    ((sizeof(Classes) == sizeof(Layout) && alignof(Classes) == alignof(Layout)) && ...);

// Texts and vectors

template <typename Layout, typename S, typename Char>
void ExpectThreePointers(const Char* text) {
  S string(text);
  string.reserve(20);
  const auto layout = LayoutOf<Layout>(string);
  EXPECT_EQ(layout.begin, string.c_str());
  EXPECT_EQ(layout.end, string.c_str() + 3);
  EXPECT_EQ(layout.capacityEnd, string.c_str() + 20);
}

TEST(StringLayout, IsBeginEndAndEndOfCapacityInEveryForm) {
  ExpectThreePointers<WideStringLayout, WString>(L"abc");
  ExpectThreePointers<NarrowStringLayout, String>("abc");
  ExpectThreePointers<NarrowStringLayout, CountedString>("abc");
  const unsigned char utf8[] = "abc";
  ExpectThreePointers<Utf8StringLayout, Utf8String>(utf8);
}

TEST(VectorLayout, IsBeginEndAndEndOfCapacity) {
  const auto empty = LayoutOf<VectorLayout>(Vector<StatusChain::Element>());
  EXPECT_EQ(empty.begin, nullptr);
  EXPECT_EQ(empty.end, nullptr);
  EXPECT_EQ(empty.capacityEnd, nullptr);
  Vector<WString> vector(2);
  vector.reserve(5);
  const auto layout = LayoutOf<VectorLayout>(vector);
  EXPECT_EQ(layout.begin, &vector[0]);
  EXPECT_EQ(layout.end, &vector[0] + 2);
  EXPECT_EQ(layout.capacityEnd, &vector[0] + 5);
}

// Status

TEST(StatusChainLayout, IsAnElementAndAPointerToAVectorOfElements) {
  static_assert(kFits<StatusElementLayout, StatusChain::Element>);
  StatusChain chain;
  chain.set(-5);
  chain.pushCurrent();
  const unsigned char record[] = {7, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 1,  0,
                                  0, 0, 8, 0, 0, 0, 1, 0, 0,   0,   'c'};
  const unsigned char* cursor = record;
  chain.deserialize(cursor, record + sizeof(record));
  const auto layout = LayoutOf<StatusChainLayout>(chain);
  EXPECT_EQ(layout.current.code, 7);
  EXPECT_EQ(TextOf(*layout.current.message), L"ab");
  const auto* const element = static_cast<const StatusElementLayout*>(layout.history->begin);
  ASSERT_EQ(layout.history->end, element + 1);
  EXPECT_EQ(element->code, 8);
  EXPECT_EQ(TextOf(*element->message), L"c");
}

TEST(StatusChainLayout, HasNoMessageAndNoHistoryAtFirst) {
  const auto layout = LayoutOf<StatusChainLayout>(StatusChain());
  EXPECT_EQ(layout.current.code, -2147467259);
  EXPECT_EQ(layout.current.message, nullptr);
  EXPECT_EQ(layout.history, nullptr);
}

// Exceptions

TEST(ExceptionLayout, IsTheLineAndTheFile) {
  static_assert(kFits<ExceptionLayout, Exception, InvalidArgument, OutOfRange, BoundExceeded,
                      ObjectAlreadyExists, NonexistentException, InvalidOperation, FileWriteFailed,
                      FileReadFailed, DeserializationError, BufferOverflow, FileAlreadyExists,
                      InvalidLocale, InvalidSequence, UnableToConvert>);
  const char* const file = "here";
  Exception exception;
  exception.setFileAndLine(file, 12);
  const auto layout = LayoutOf<ExceptionLayout>(exception);
  EXPECT_EQ(layout.line, 12U);
  EXPECT_EQ(layout.file, file);
}

template <typename Class, typename... Arguments>
void ExpectMessage(const Arguments&... arguments) {
  const Class exception(arguments...);
  const NarrowStringLayout message = LayoutOf<TextExceptionLayout>(exception).message;
  EXPECT_EQ(message.begin, exception.what());
  EXPECT_EQ(message.end, exception.what() + std::char_traits<char>::length(exception.what()));
}

TEST(ExceptionLayout, HasTheMessageBehindTheFile) {
  ExpectMessage<OutOfRange2>("text");
  ExpectMessage<BoundExceeded2>("text");
  ExpectMessage<InvalidArgument2>("text");
  ExpectMessage<AccessDenied>(L"/srv/text");
}

template <typename Class, typename Code>
void ExpectMessageAndCode() {
  const Class error("text", Code{77});
  const auto layout = LayoutOf<OSExceptionLayout>(error);
  EXPECT_EQ(layout.base.message.begin, error.what());
  EXPECT_EQ(layout.base.message.end, error.what() + 4);
  EXPECT_EQ(layout.code, 77U);
}

TEST(ExceptionLayout, HasTheCodeOfTheSystemBehindTheMessage) {
  ExpectMessageAndCode<OSException, std::uint32_t>();
  ExpectMessageAndCode<PosixError, int>();
  ExpectMessageAndCode<CarbonError, short>();
}

// Buffers, locks and threads

TEST(AtomicIntLayout, IsTheValueAndTheLock) {
  const osdep::AtomicInt number(-7);
  const auto layout = LayoutOf<AtomicIntLayout>(number);
  EXPECT_EQ(layout.value, -7);
  EXPECT_EQ(layout.section.implementation->state->lockCount, 0);
}

TEST(CriticalSectionLayout, LeadsToTheOwnerTheMutexAndTheDepth) {
  const osdep::CriticalSection section;
  auto& state = *LayoutOf<CriticalSectionLayout>(section).implementation->state;
  const auto tryInAnotherThread = [&state] {
    int result = 0;
    std::thread([&] {
      result = pthread_mutex_trylock(&state.mutex);
      if (result == 0) pthread_mutex_unlock(&state.mutex);
    }).join();
    return result;
  };
  EXPECT_EQ(state.owner, pthread_t{});
  EXPECT_EQ(state.lockCount, 0);
  section.enter();
  section.enter();
  EXPECT_NE(pthread_equal(state.owner, pthread_self()), 0);
  EXPECT_EQ(state.lockCount, 2);
  EXPECT_EQ(tryInAnotherThread(), EBUSY);
  section.leave();
  section.leave();
  EXPECT_EQ(state.owner, pthread_t{});
  EXPECT_EQ(state.lockCount, 0);
  EXPECT_EQ(tryInAnotherThread(), 0);
}

TEST(AutoBufferLayout, LeadsToTheCountTheBeginTheCapacityAndTheEnd) {
  static_assert(kFits<AutoBufferGutsLayout, AutoBufferGuts>);
  AutoBuffer buffer(9);
  buffer.Append("bytes", 5);
  const AutoBuffer copy(buffer);
  const AutoBufferGutsLayout& guts = *LayoutOf<AutoBufferLayout>(copy).guts;
  EXPECT_EQ(guts.references.value, 2);
  EXPECT_EQ(guts.begin, copy.Data());
  EXPECT_EQ(guts.capacity, 9U);
  EXPECT_EQ(guts.end, copy.Data() + 5);
  EXPECT_EQ(LayoutOf<AutoBufferLayout>(AutoBuffer()).guts, nullptr);
}

TEST(BufferWrapperLayout, IsTheBytesAndTheirNumber) {
  const BufferWrapper bytes("bytes", 5);
  const auto layout = LayoutOf<BufferWrapperLayout>(bytes);
  EXPECT_EQ(layout.data, bytes.Data());
  EXPECT_EQ(layout.length, 5U);
}

TEST(ThreadIDLayout, IsTheIdentityOfTheSystem) {
  const auto layout = LayoutOf<ThreadIDLayout>(osdep::ThreadID::getCallingID());
  EXPECT_NE(pthread_equal(layout.id, pthread_self()), 0);
  EXPECT_EQ(LayoutOf<ThreadIDLayout>(osdep::ThreadID()).id, pthread_t{});
}

// Files and libraries

TEST(BinaryFileLayout, IsTheDescriptorMinusOneWhenClosed) {
  osdep::BinaryFile file;
  EXPECT_EQ(LayoutOf<BinaryFileLayout>(file).descriptor, -1);
  file.open(L"/dev/null", osdep::BinaryFile::Mode::Read);
  const std::int32_t descriptor = LayoutOf<BinaryFileLayout>(file).descriptor;
  ASSERT_GE(descriptor, 0);
  file.close();
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST(BundleLayout, IsTheOpenBundle) {
  ScriptedBundleServices services;
  EXPECT_EQ(LayoutOf<BundleLayout>(osdep::Bundle(L"foo")).bundle, nullptr);
  services.addBundle(L"user frameworks foo.bundle");
  EXPECT_NE(LayoutOf<BundleLayout>(osdep::Bundle(L"foo")).bundle, nullptr);
}

TEST(SharedLibraryLayout, IsPathHandleFlagsNameAndKind) {
  const std::string file = EngineFile(kGoodEngine);
  const SharedLibrary library(file.c_str(), true, false);
  const auto layout = LayoutOf<SharedLibraryLayout>(library);
  EXPECT_EQ(TextOf(layout.loadedPath), std::wstring(file.begin(), file.end()));
  void* const handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  EXPECT_EQ(layout.handle, handle);
  ::dlclose(handle);
  EXPECT_TRUE(layout.unloadOnDestruction);
  EXPECT_FALSE(layout.reservedFlag);
  EXPECT_EQ(TextOf(layout.requestedName), std::wstring(file.begin(), file.end()));
  EXPECT_FALSE(layout.isBundle);
}

TEST(SharedLibraryLayout, TellsTheNameRequestedFromTheOneFound) {
  ScriptedBundleServices services;
  services.addBundle(L"user frameworks foo.bundle");
  const SharedLibrary library(L"foo", false, true);
  const auto layout = LayoutOf<SharedLibraryLayout>(library);
  EXPECT_EQ(TextOf(layout.loadedPath), L"foo.bundle");
  EXPECT_TRUE(static_cast<const osdep::Bundle*>(layout.handle)->isOpened());
  EXPECT_FALSE(layout.unloadOnDestruction);
  EXPECT_TRUE(layout.reservedFlag);
  EXPECT_EQ(TextOf(layout.requestedName), L"foo");
  EXPECT_TRUE(layout.isBundle);
  delete static_cast<const osdep::Bundle*>(layout.handle);
}

// Time

static_assert(std::is_trivially_copyable_v<tFixedPoint128<64, true>> &&
              std::is_trivially_copyable_v<tFixedPoint128<64, false>> &&
              std::is_trivially_copyable_v<tSSTimeValue> &&
              std::is_trivially_copyable_v<tSSTimeAbsolute> &&
              std::is_trivially_copyable_v<AbsTime>);

TEST(FixedPointLayout, IsFourWordsTheLeastSignificantFirst) {
  EXPECT_THAT(LayoutOf<FixedPointLayout>(tFixedPoint128<64, true>(4, 3, 2, 1)).words,
              ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(LayoutOf<FixedPointLayout>(tFixedPoint128<64, false>(4, 3, 2, 1)).words,
              ElementsAre(1, 2, 3, 4));
}

TEST(FixedPointLayout, IsThatOfSpansAndPointsInTimeToo) {
  const tSSTimeValue span(tFixedPoint128<64, true>(4, 3, 2, 1));
  EXPECT_THAT(LayoutOf<FixedPointLayout>(span).words, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(LayoutOf<FixedPointLayout>(tSSTimeAbsolute(span, nullptr)).words,
              ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(LayoutOf<FixedPointLayout>(AbsTime(0x400000003, 0x200000001)).words,
              ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(LayoutOf<FixedPointLayout>(AbsTime()).words, ElementsAre(0, 0, 0, 0x80000000));
}

// Tracing

TEST(LoggingBlockLayout, IsCountTimeTypePayloadAndFactory) {
  struct Factory final : traceengine::ILoggingBlockFactory {
    LoggingBlock* giveOut() override { return nullptr; }
    void takeBack(LoggingBlock* /*block*/) override {}
  } factory;
  LoggingBlock block(&factory);
  StatusChain status;
  status.clear();
  block.stampCurrentTime();
  block.write("abc", 3, status);
  block.blockType(traceengine::kBlockType2, status);
  const auto layout = LayoutOf<LoggingBlockLayout>(block);
  EXPECT_EQ(layout.used, 3);
  EXPECT_EQ(layout.enginesOwn, 0);
  EXPECT_EQ(layout.type, 2);
  EXPECT_EQ(std::string(layout.payload, 4), std::string("abc\0", 4));
  EXPECT_EQ(static_cast<void*>(layout.factory), &factory);
  EXPECT_THAT(layout.timeStamp.words,
              ElementsAreArray(LayoutOf<FixedPointLayout>(block.timeStamp()).words));
}

TEST(TraceTagLayout, IsNameIdAndSwitch) {
  TraceTag tag;
  tag.Initialize("Certificate", 5, true);
  const auto layout = LayoutOf<TraceTagLayout>(tag);
  EXPECT_STREQ(layout.name, "Certificate");
  EXPECT_EQ(layout.id, 5);
  EXPECT_TRUE(layout.enabled);
}

TEST(TraceTagEELayout, IsFunctionAndTag) {
  const char* const name = "f";
  const TraceTagEE scope(5, name);
  const auto layout = LayoutOf<TraceTagEELayout>(scope);
  EXPECT_EQ(layout.functionName, name);
  EXPECT_EQ(layout.tagId, 5);
}

TEST(TraceLoggerLayout, IsTableNameEngineAndFlags) {
  using Probe = traceengine::MyTraceLoggerProbe;
  InstalledEngine installed;
  InstalledEngine::script().showTagNames = false;
  installed.writeTags("Certificate : 5 : yes\n");
  const MyTraceLogger logger("module");
  const auto layout = LayoutOf<TraceLoggerLayout>(logger);
  EXPECT_EQ(layout.tagTable[4], nullptr);
  ASSERT_NE(layout.tagTable[5], nullptr);
  EXPECT_STREQ(layout.tagTable[5]->name, "Certificate");
  EXPECT_STREQ(layout.moduleName.begin, "module");
  EXPECT_EQ(TextOf(layout.engine.library.requestedName), L"qv_traceengine");
  EXPECT_EQ(static_cast<void*>(layout.engine.interface), Probe::engine(logger));
  EXPECT_FALSE(layout.showTagNames);
  EXPECT_TRUE(layout.initialized);
}

}  // namespace
}  // namespace qv::tests
