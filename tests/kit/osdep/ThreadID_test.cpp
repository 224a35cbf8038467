#include "kit/osdep/ThreadID.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <locale>
#include <sstream>
#include <string>
#include <thread>

namespace {

using qv::kit::osdep::ThreadID;

ThreadID IdOfAnotherThread() {
  ThreadID id;
  std::thread([&id] { id = ThreadID::getCallingID(); }).join();
  return id;
}

TEST(ThreadID, OfNoThreadIsNobody) {
  EXPECT_TRUE(ThreadID() == ThreadID());
  EXPECT_FALSE(ThreadID() == ThreadID::getCallingID());
  EXPECT_FALSE(ThreadID().isCurrentThread());
}

TEST(ThreadID, OfNoThreadIsShownAsZero) {
  EXPECT_EQ(ThreadID().getDisplayStringHex().exactCompare(L"0"), 0);
}

TEST(ThreadID, OfOneThreadIsAlwaysTheSame) {
  EXPECT_TRUE(ThreadID::getCallingID() == ThreadID::getCallingID());
  EXPECT_TRUE(ThreadID::getCallingID().isCurrentThread());
}

TEST(ThreadID, TellsThreadsThatLiveTogetherApart) {
  const ThreadID here = ThreadID::getCallingID();
  const ThreadID there = IdOfAnotherThread();
  EXPECT_FALSE(here == there);
  EXPECT_FALSE(there.isCurrentThread());
}

TEST(ThreadID, IsTheCurrentThreadOnlyInItsOwn) {
  const ThreadID here = ThreadID::getCallingID();
  bool isCurrentThere = true;
  std::thread([&] { isCurrentThere = here.isCurrentThread(); }).join();
  EXPECT_FALSE(isCurrentThere);
}

TEST(ThreadID, ShowsAllDigitsOfTheIdentity) {
  std::wostringstream expected;
  expected.imbue(std::locale::classic());
  expected << std::hex << std::uppercase << std::uintptr_t(pthread_self());
  const qv::kit::WString shown = ThreadID::getCallingID().getDisplayStringHex();
  EXPECT_EQ(std::wstring(shown.begin(), shown.end()), expected.str());
}

}  // namespace
