#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <optional>

#include "kit/AutoBuffer.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "kit/Vector.h"
#include "kit/little_endian.h"
#include "tests/ReservedRange.h"

namespace {

using namespace qv::kit;

/// Room for serialized values that goes on for 4 GiB, of which only the first page has memory: cut
/// to 32 bits, its size is none at all.
class FarEnd : public testing::Test {
 protected:
  void SetUp() override {
    if (!ReservedRange<unsigned char>::fits(kSize)) GTEST_SKIP() << "needs addresses of 64 bits";
    room_.emplace(kSize);
    begin_ = const_cast<unsigned char*>(room_->begin());
    end_ = begin_ + kSize;
    ASSERT_EQ(::mprotect(begin_, 4096, PROT_READ | PROT_WRITE), 0);
  }

  template <typename Value>
  Value readBack(const Value& value) {
    unsigned char* cursor = begin_;
    value.serialize(cursor, end_);
    EXPECT_EQ(cursor, begin_ + value.serializationSize());
    const unsigned char* readCursor = begin_;
    Value found;
    found.deserialize(readCursor, end_);
    EXPECT_EQ(readCursor, cursor);
    return found;
  }

  static constexpr std::uint64_t kSize = 0x100000000;

  std::optional<ReservedRange<unsigned char>> room_;
  unsigned char* begin_ = nullptr;
  unsigned char* end_ = nullptr;
};

TEST_F(FarEnd, HasRoomForIntegers) {
  unsigned char* cursor = begin_;
  little_endian::SerializeRaw<long>(-2, cursor, end_);
  const unsigned char* readCursor = begin_;
  long found = 0;
  little_endian::DeserializeRaw<long>(found, readCursor, end_);
  EXPECT_EQ(found, -2);
}

TEST_F(FarEnd, HasRoomForStringsOfEveryForm) {
  EXPECT_EQ(readBack(WString(L"wide")), L"wide");
  EXPECT_EQ(readBack(String("narrow")), "narrow");
  EXPECT_EQ(readBack(CountedString("counted")), "counted");
  EXPECT_EQ(readBack(Utf8String(L"UTF-8")), Utf8String(L"UTF-8"));
}

TEST_F(FarEnd, HasRoomForVectors) {
  Vector<WString> names;
  names.push_back(L"first");
  names.push_back(L"second");
  const Vector<WString> found = readBack(names);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[1], L"second");
}

TEST_F(FarEnd, HasRoomForStatusChains) {
  StatusChain chain;
  chain.pushCurrent();
  chain.set(-7);
  const StatusChain found = readBack(chain);
  EXPECT_EQ(found.code(), -7);
  ASSERT_NE(found.history(), nullptr);
  EXPECT_EQ(found.history()->size(), 1U);
}

TEST_F(FarEnd, HasRoomForBuffers) {
  const AutoBuffer buffer(BufferWrapper("bytes", 5U));
  EXPECT_EQ(readBack(buffer), buffer);
}

TEST_F(FarEnd, MakesARingLikeAnyOther) {
  const AutoBuffer buffer(BufferWrapper("bytes", 5U));
  unsigned char* cursor = begin_;
  buffer.circularSerialize(begin_, end_, cursor);
  EXPECT_EQ(cursor, begin_ + 9);
  const unsigned char* readCursor = begin_;
  AutoBuffer found;
  found.circularDeserialize(begin_, end_, readCursor);
  EXPECT_EQ(readCursor, cursor);
  EXPECT_EQ(found, buffer);
}

}  // namespace
