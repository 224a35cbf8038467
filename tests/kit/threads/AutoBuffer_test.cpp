#include "kit/AutoBuffer.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using qv::kit::AutoBuffer;

AutoBuffer Holding(const std::string& text) {
  AutoBuffer buffer;
  buffer.Append(text.data(), text.size());
  return buffer;
}

std::string Text(const AutoBuffer& buffer) {
  return std::string(reinterpret_cast<const char*>(buffer.Data()), buffer.Len());
}

TEST(AutoBufferThreads, ChangeTheirCopiesOfOneStorageIndependently) {
  AutoBuffer original = Holding("shared");
  constexpr int kThreads = 8;
  std::vector<AutoBuffer> copies(kThreads, original);
  original.Free();
  std::vector<std::thread> threads;
  for (int i = 0; i != kThreads; ++i) {
    threads.emplace_back([&copies, i] {
      AutoBuffer& mine = copies[static_cast<std::size_t>(i)];
      for (int round = 0; round != 50; ++round) {
        const AutoBuffer kept(mine);
        mine.Append(&i, 1);
        EXPECT_EQ(kept.Len() + 1, mine.Len());
      }
      AutoBuffer passing(mine);
      passing.Free();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (int i = 0; i != kThreads; ++i) {
    EXPECT_EQ(Text(copies[static_cast<std::size_t>(i)]),
              "shared" + std::string(50, static_cast<char>(i)));
  }
}

TEST(AutoBufferThreads, TheLastOfManyReleasesTheStorage) {
  for (int round = 0; round != 20; ++round) {
    std::vector<AutoBuffer> copies(4, Holding("shared"));
    std::vector<std::thread> threads;
    for (AutoBuffer& copy : copies) {
      threads.emplace_back([&copy] {
        EXPECT_EQ(Text(copy), "shared");
        copy.Free();
      });
    }
    for (std::thread& thread : threads)
      thread.join();
  }
}

}  // namespace
