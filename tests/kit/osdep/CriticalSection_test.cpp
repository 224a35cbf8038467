#include "kit/osdep/CriticalSection.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using qv::kit::osdep::CriticalSection;
using qv::kit::osdep::IValidator;

template <typename Action>
auto InAnotherThread(Action action) {
  return std::async(std::launch::async, action).get();
}

bool AnotherThreadCanEnter(const CriticalSection& section) {
  return InAnotherThread([&] {
    const bool entered = section.tryEnter();
    if (entered) section.leave();
    return entered;
  });
}

TEST(CriticalSection, IsFreeWhenConstructed) {
  const CriticalSection section;
  EXPECT_FALSE(section.inOwningThread());
  EXPECT_TRUE(AnotherThreadCanEnter(section));
}

TEST(CriticalSection, ConstructedWithAValidatorBehavesAsWithoutOne) {
  // Nothing of the validator is used, not even that it is one.
  unsigned char notAValidator = 0;
  IValidator* const any = reinterpret_cast<IValidator*>(&notAValidator);
  for (IValidator* const validator : {static_cast<IValidator*>(nullptr), any}) {
    const CriticalSection section(validator);
    section.enter();
    EXPECT_TRUE(section.inOwningThread());
    EXPECT_FALSE(AnotherThreadCanEnter(section));
    section.leave();
    EXPECT_TRUE(AnotherThreadCanEnter(section));
  }
}

TEST(CriticalSection, IsNotCopyable) {
  EXPECT_FALSE(std::is_copy_constructible_v<CriticalSection>);
  EXPECT_FALSE(std::is_copy_assignable_v<CriticalSection>);
  EXPECT_FALSE(std::is_copy_constructible_v<CriticalSection::Guard>);
}

TEST(CriticalSection, HoldsOnePointer) {
  EXPECT_EQ(sizeof(CriticalSection), sizeof(void*));
}

TEST(CriticalSection, EnteredTwiceIsFreedByTheSecondLeave) {
  const CriticalSection section;
  section.enter();
  section.enter();
  section.leave();
  EXPECT_TRUE(section.inOwningThread());
  EXPECT_FALSE(AnotherThreadCanEnter(section));
  section.leave();
  EXPECT_FALSE(section.inOwningThread());
  EXPECT_TRUE(AnotherThreadCanEnter(section));
}

TEST(CriticalSection, OnlyTheOwnerFindsItselfInTheOwningThread) {
  const CriticalSection section;
  section.enter();
  EXPECT_TRUE(section.inOwningThread());
  EXPECT_FALSE(InAnotherThread([&] { return section.inOwningThread(); }));
  section.leave();
}

TEST(CriticalSection, LeaveInAThreadThatNeverEnteredLeavesTheOwnerHolding) {
  const CriticalSection section;
  section.enter();
  InAnotherThread([&] { section.leave(); });
  EXPECT_TRUE(section.inOwningThread());
  EXPECT_FALSE(AnotherThreadCanEnter(section));
  section.leave();
}

TEST(CriticalSection, LeaveOfAFreeSectionDoesNothing) {
  const CriticalSection section;
  section.leave();
  section.enter();
  EXPECT_FALSE(AnotherThreadCanEnter(section));
  section.leave();
  EXPECT_TRUE(AnotherThreadCanEnter(section));
}

TEST(CriticalSectionTryEnter, IsFalseWhileAnotherThreadHoldsTheSection) {
  const CriticalSection section;
  section.enter();
  EXPECT_FALSE(InAnotherThread([&] { return section.tryEnter(); }));
  section.leave();
}

TEST(CriticalSectionTryEnter, OfTheOwnerSucceedsAndMustBeMatchedByALeave) {
  const CriticalSection section;
  section.enter();
  EXPECT_TRUE(section.tryEnter());
  section.leave();
  EXPECT_FALSE(AnotherThreadCanEnter(section));
  section.leave();
  EXPECT_TRUE(AnotherThreadCanEnter(section));
}

TEST(CriticalSectionTryEnter, OfAFreeSectionMakesTheCallerItsOwner) {
  const CriticalSection section;
  EXPECT_TRUE(section.tryEnter());
  EXPECT_TRUE(section.inOwningThread());
  EXPECT_FALSE(AnotherThreadCanEnter(section));
  section.leave();
}

TEST(CriticalSectionGuard, HoldsTheSectionForItsScope) {
  const CriticalSection section;
  {
    const CriticalSection::Guard outer(section);
    {
      const CriticalSection::Guard inner(section);
      EXPECT_TRUE(section.inOwningThread());
    }
    EXPECT_FALSE(AnotherThreadCanEnter(section));
  }
  EXPECT_TRUE(AnotherThreadCanEnter(section));
}

TEST(CriticalSectionGuard, LeavesWhenItsScopeEndsByAnException) {
  const CriticalSection section;
  try {
    const CriticalSection::Guard guard(section);
    throw 1;
  } catch (int) {
  }
  EXPECT_TRUE(AnotherThreadCanEnter(section));
}

TEST(CriticalSection, ThreadsTakeTurns) {
  const CriticalSection section;
  constexpr int kThreads = 8;
  constexpr int kRounds = 2000;
  int plainCount = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i != kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round != kRounds; ++round) {
        // Strays of threads that hold nothing must never let a second thread in.
        section.leave();
        EXPECT_FALSE(section.inOwningThread());
        const CriticalSection::Guard outer(section);
        const CriticalSection::Guard inner(section);
        EXPECT_TRUE(section.inOwningThread());
        ++plainCount;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(plainCount, kThreads * kRounds);
}

}  // namespace
