#include "source/SingletonMutex.h"

#include <gtest/gtest.h>

#include "tests/doubles/FailingAllocator.h"

namespace qvsslinit {
namespace {

using qv::kit::osdep::CriticalSection;

TEST(SingletonMutex, IsThereAsSoonAsThereIsMemoryForIt) {
  SingletonMutex mutex;
  {
    qv::tests::FailingAllocator allocator;
    allocator.IncludeNew();
    allocator.FailFrom(1);
    EXPECT_FALSE(mutex.isThere());
  }
  ASSERT_TRUE(mutex.isThere());
  const CriticalSection::Guard guard(mutex);
  EXPECT_TRUE(static_cast<const CriticalSection&>(mutex).inOwningThread());
}

TEST(SingletonMutex, StaysTheSameOnceItIsThere) {
  SingletonMutex mutex;
  ASSERT_TRUE(mutex.isThere());
  const CriticalSection* const section = &static_cast<const CriticalSection&>(mutex);
  EXPECT_TRUE(mutex.isThere());
  EXPECT_EQ(&static_cast<const CriticalSection&>(mutex), section);
}

TEST(SingletonMutex, IsTheOneOfWhoeverMadeItFirst) {
  SingletonMutex mutex;
  const CriticalSection* first = nullptr;
  {
    qv::tests::FailingAllocator allocator;
    allocator.IncludeNew();
    allocator.Interrupt([&] {
      ASSERT_TRUE(mutex.isThere());
      first = &static_cast<const CriticalSection&>(mutex);
    });
    EXPECT_TRUE(mutex.isThere());
  }
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(&static_cast<const CriticalSection&>(mutex), first);
}

}  // namespace
}  // namespace qvsslinit
