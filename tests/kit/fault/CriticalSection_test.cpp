#include "kit/osdep/CriticalSection.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <new>

#include "kit/osdep/AtomicInt.h"
#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/FailingMutexes.h"

namespace {

using qv::kit::osdep::AtomicInt;
using qv::kit::osdep::CriticalSection;
using qv::tests::FailingAllocator;
using qv::tests::FailingMutexes;
using Call = FailingMutexes::Call;

TEST(CriticalSectionWithoutResources, MakesAndDestroysOneMutexAndItsAttributes) {
  const FailingMutexes mutexes;
  {
    const CriticalSection section;
    EXPECT_EQ(mutexes.mutexesAlive(), 1);
    EXPECT_EQ(mutexes.attributesAlive(), 0);
  }
  EXPECT_EQ(mutexes.mutexesAlive(), 0);
}

TEST(CriticalSectionWithoutResources, ThrowsBadAllocAtEachStepOfItsConstructionAndLosesNothing) {
  for (const Call call : {Call::kAttributeInit, Call::kAttributeType, Call::kMutexInit}) {
    for (const int error : {ENOMEM, EAGAIN}) {
      FailingMutexes mutexes;
      mutexes.Fail(call, error);
      EXPECT_THROW(CriticalSection{}, std::bad_alloc);
      EXPECT_THROW(AtomicInt(1), std::bad_alloc);
      EXPECT_EQ(mutexes.attributesAlive(), 0);
      EXPECT_EQ(mutexes.mutexesAlive(), 0);
    }
  }
}

TEST(CriticalSectionTryEnter, IsFalseForBusyAndInvalid) {
  for (const int error : {EBUSY, EINVAL}) {
    const CriticalSection section;
    FailingMutexes mutexes;
    mutexes.Fail(Call::kTryLock, error);
    EXPECT_FALSE(section.tryEnter());
    EXPECT_FALSE(section.inOwningThread());
  }
}

TEST(CriticalSectionTryEnter, CountsEveryOtherErrorAsEntered) {
  for (const int error : {EAGAIN, EPERM, EDEADLK}) {
    const CriticalSection section;
    section.enter();
    FailingMutexes mutexes;
    mutexes.Fail(Call::kTryLock, error);
    EXPECT_TRUE(section.tryEnter());
    section.leave();
    // One enter() more than leave() as far as the section knows; the mutex itself is free again.
    EXPECT_TRUE(section.inOwningThread());
  }
}

TEST(CriticalSectionEnter, CountsAsEnteredWhateverTheSystemReports) {
  for (const int error : {EINVAL, EAGAIN, EDEADLK}) {
    const CriticalSection section;
    // Held, so that the leave() that matches the failed attempt finds a locked mutex.
    section.enter();
    FailingMutexes mutexes;
    mutexes.Fail(Call::kLock, error);
    section.enter();
    mutexes.Fail(Call::kLock, 0);
    section.leave();
    EXPECT_TRUE(section.inOwningThread());
    section.leave();
    EXPECT_FALSE(section.inOwningThread());
  }
}

TEST(CriticalSectionWithoutMemory, CannotBeBuiltAndLosesNoMutex) {
  // One allocation for the critical section, and one for its state.
  for (const std::uint32_t failing : {1U, 2U}) {
    const FailingMutexes mutexes;
    FailingAllocator allocator;
    allocator.IncludeNew();
    allocator.FailCall(failing);
    EXPECT_THROW(CriticalSection{}, std::bad_alloc);
    allocator.FailCall(failing);
    EXPECT_THROW(AtomicInt(1), std::bad_alloc);
    allocator.FailCall(3);
    EXPECT_NO_THROW(CriticalSection{});
    EXPECT_EQ(mutexes.attributesAlive(), 0);
    EXPECT_EQ(mutexes.mutexesAlive(), 0);
  }
}

}  // namespace
