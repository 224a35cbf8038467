#include "tests/doubles/ObjectLayout.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <thread>

#include "kit/AutoBufferGuts.h"
#include "kit/exception/OSException.h"
#include "kit/osdep/AtomicInt.h"
#include "kit/osdep/ThreadID.h"

namespace {

using namespace qv::kit;
using exception::Exception;
using osdep::OSException;
using qv::tests::VirtualSlot;

/// The first bytes of an object as another module sees them.
template <typename LayoutT>
LayoutT ReadAs(const void* object) {
  LayoutT layout;
  std::memcpy(static_cast<void*>(&layout), object, sizeof(layout));
  return layout;
}

TEST(ExceptionLayout, HasItsOperationsInTheirDocumentedSlots) {
  EXPECT_EQ(VirtualSlot(&Exception::what), 2U);
  EXPECT_EQ(VirtualSlot(&Exception::getErrorCode), 3U);
  EXPECT_EQ(VirtualSlot(&OSException::whatcode), 4U);
}

struct ExceptionLayout {
  const void* operations;
  std::uint32_t line;
  const char* file;
};

TEST(ExceptionLayout, HasTheLineAndThenTheFile) {
  static_assert(sizeof(ExceptionLayout) == sizeof(Exception));
  const char* const file = "here";
  Exception exception;
  exception.setFileAndLine(file, 12);
  const auto layout = ReadAs<ExceptionLayout>(&exception);
  EXPECT_EQ(layout.line, 12U);
  EXPECT_EQ(layout.file, file);
}

TEST(ExceptionLayout, HasTheMessageAndThenTheCodeOfTheSystem) {
  struct Layout {
    ExceptionLayout base;
    const char* messageBegin;
    const char* messageEnd;
    const char* messageCapacityEnd;
    std::uint32_t code;
  };
  static_assert(sizeof(Layout) == sizeof(OSException));
  const OSException error("text", 77);
  const auto layout = ReadAs<Layout>(&error);
  EXPECT_EQ(layout.messageBegin, error.what());
  EXPECT_EQ(layout.messageEnd, error.what() + 4);
  EXPECT_EQ(layout.code, 77U);
}

struct AtomicIntLayout {
  std::int32_t value;
  const void* lock;
};

TEST(AtomicIntLayout, HasTheValueAndThenTheLock) {
  static_assert(sizeof(AtomicIntLayout) == sizeof(osdep::AtomicInt));
  const osdep::AtomicInt number(-7);
  const auto layout = ReadAs<AtomicIntLayout>(&number);
  EXPECT_EQ(layout.value, -7);
  EXPECT_NE(layout.lock, nullptr);
}

TEST(AutoBufferGutsLayout, HasCountBeginCapacityAndEnd) {
  struct Layout {
    AtomicIntLayout references;
    const unsigned char* begin;
    std::uint32_t capacity;
    const unsigned char* end;
  };
  static_assert(sizeof(Layout) == sizeof(AutoBufferGuts));
  auto* const guts = new AutoBufferGuts(9);
  guts->setLength(5);
  guts->addReference();
  const auto layout = ReadAs<Layout>(guts);
  EXPECT_EQ(layout.references.value, 2);
  EXPECT_EQ(layout.begin, guts->begin());
  EXPECT_EQ(layout.capacity, 9U);
  EXPECT_EQ(layout.end, guts->begin() + 5);
  guts->release();
  guts->release();
}

TEST(ThreadIDLayout, IsTheIdentityOfTheSystem) {
  static_assert(sizeof(osdep::ThreadID) == sizeof(pthread_t));
  const osdep::ThreadID id = osdep::ThreadID::getCallingID();
  EXPECT_NE(pthread_equal(ReadAs<pthread_t>(&id), pthread_self()), 0);
  const osdep::ThreadID none;
  EXPECT_EQ(ReadAs<pthread_t>(&none), pthread_t{});
}

TEST(CriticalSectionLayout, LeadsToTheOwnerTheMutexAndTheDepth) {
  struct State {
    pthread_t owner;
    pthread_mutex_t mutex;
    std::int32_t depth;
  };
  const osdep::CriticalSection section;
  auto* const implementation = ReadAs<State**>(&section);
  State* const state = *implementation;
  const auto tryInAnotherThread = [state] {
    int result = 0;
    std::thread([&] {
      result = pthread_mutex_trylock(&state->mutex);
      if (result == 0) pthread_mutex_unlock(&state->mutex);
    }).join();
    return result;
  };
  EXPECT_EQ(state->owner, pthread_t{});
  EXPECT_EQ(state->depth, 0);
  section.enter();
  section.enter();
  EXPECT_NE(pthread_equal(state->owner, pthread_self()), 0);
  EXPECT_EQ(state->depth, 2);
  EXPECT_EQ(tryInAnotherThread(), EBUSY);
  section.leave();
  section.leave();
  EXPECT_EQ(state->owner, pthread_t{});
  EXPECT_EQ(state->depth, 0);
  EXPECT_EQ(tryInAnotherThread(), 0);
}

}  // namespace
