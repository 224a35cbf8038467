#include "kit/Vector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <array>
#include <string>
#include <vector>

namespace {

using namespace qv::kit;
using exception::BufferOverflow;
using exception::DeserializationError;
using exception::OutOfRange;
using testing::ElementsAre;

struct CopyFailed {};

// Counts the living and throws at the copy it is told.
struct Tracked {
  Tracked() {
    if (constructionsUntilFailure-- == 0) throw CopyFailed();
    ++alive;
  }
  explicit Tracked(int number) : value(number) { ++alive; }
  Tracked(const Tracked& other) : value(other.value) {
    if (copiesUntilFailure-- == 0) throw CopyFailed();
    ++alive;
  }
  Tracked& operator=(const Tracked&) = default;
  ~Tracked() {
    --alive;
    value = -1;
  }

  int value = 7;

  static int alive;
  static int copiesUntilFailure;
  static int constructionsUntilFailure;
};
int Tracked::alive = 0;
int Tracked::copiesUntilFailure = -1;
int Tracked::constructionsUntilFailure = -1;

std::vector<int> Values(const Vector<Tracked>& vector) {
  std::vector<int> values;
  for (const Tracked& element : vector)
    values.push_back(element.value);
  return values;
}

Vector<Tracked> Numbers(std::initializer_list<int> numbers) {
  Vector<Tracked> vector;
  for (const int number : numbers)
    vector.push_back(Tracked(number));
  return vector;
}

TEST(Vector, IsThreePointers) {
  EXPECT_EQ(sizeof(Vector<Tracked>), 3 * sizeof(void*));
}

TEST(Vector, WithoutElementsHoldsNullPointers) {
  const Vector<int> vector;
  EXPECT_EQ(vector.begin(), nullptr);
  EXPECT_EQ(vector.end(), nullptr);
  EXPECT_EQ(vector.size(), 0U);
  EXPECT_EQ(vector.capacity(), 0U);
}

TEST(Vector, OfCountZeroAllocatesNothing) {
  const Vector<int> vector(0);
  EXPECT_EQ(vector.begin(), nullptr);
  EXPECT_EQ(vector.capacity(), 0U);
}

TEST(Vector, OfACountHoldsExactlyThatManyDefaultElements) {
  const Vector<Tracked> vector(3);
  EXPECT_THAT(Values(vector), ElementsAre(7, 7, 7));
  EXPECT_EQ(vector.capacity(), 3U);
}

TEST(Vector, OfACountWhoseBytesNeedMoreThanThirtyTwoBitsThrows) {
  EXPECT_THROW(Vector<double>(0x20000000), OutOfRange);
  EXPECT_THROW(Vector<std::int32_t>(0x40000000), OutOfRange);
}

TEST(Vector, OfACountDestroysWhatWasBuiltWhenAnElementThrows) {
  Tracked::constructionsUntilFailure = 2;
  EXPECT_THROW(Vector<Tracked>(4), CopyFailed);
  EXPECT_EQ(Tracked::alive, 0);
}

TEST(Vector, DestroysItsElements) {
  { const Vector<Tracked> vector = Numbers({1, 2, 3}); }
  EXPECT_EQ(Tracked::alive, 0);
}

TEST(VectorCopy, HasElementsOfItsOwn) {
  Vector<Tracked> original = Numbers({1, 2});
  Vector<Tracked> copy(original);
  copy[0].value = 9;
  EXPECT_THAT(Values(original), ElementsAre(1, 2));
  EXPECT_THAT(Values(copy), ElementsAre(9, 2));
}

TEST(VectorCopy, DestroysWhatWasBuiltWhenAnElementThrows) {
  const Vector<Tracked> original = Numbers({1, 2, 3});
  Tracked::copiesUntilFailure = 1;
  EXPECT_THROW(Vector<Tracked>{original}, CopyFailed);
  EXPECT_EQ(Tracked::alive, 3);
}

TEST(VectorAssignment, ReplacesTheElements) {
  Vector<Tracked> target = Numbers({5});
  const Vector<Tracked> source = Numbers({1, 2});
  target = source;
  EXPECT_THAT(Values(target), ElementsAre(1, 2));
  EXPECT_EQ(Tracked::alive, 4);
}

TEST(VectorAssignment, OfItselfChangesNothing) {
  Vector<Tracked> vector = Numbers({1, 2});
  const Vector<Tracked>& same = vector;
  vector = same;
  EXPECT_THAT(Values(vector), ElementsAre(1, 2));
}

TEST(VectorAssignment, LeavesTheTargetWhenAnElementThrows) {
  Vector<Tracked> target = Numbers({5});
  const Vector<Tracked> source = Numbers({1, 2});
  Tracked::copiesUntilFailure = 1;
  EXPECT_THROW(target = source, CopyFailed);
  EXPECT_THAT(Values(target), ElementsAre(5));
}

TEST(VectorAt, GivesElementsBelowTheSize) {
  Vector<Tracked> vector = Numbers({1, 2});
  const Vector<Tracked>& constant = vector;
  vector.at(1).value = 6;
  EXPECT_EQ(constant.at(0).value, 1);
  EXPECT_EQ(constant.at(1).value, 6);
}

TEST(VectorAt, ThrowsOutOfRangeFromTheSizeOnWhateverTheCapacity) {
  Vector<Tracked> vector = Numbers({1, 2});
  const Vector<Tracked>& constant = vector;
  ASSERT_EQ(vector.capacity(), 3U);
  try {
    vector.at(2);
    FAIL();
  } catch (const OutOfRange& exception) {
    EXPECT_STREQ(exception.what(), "Out of range");
    EXPECT_STREQ(exception.file(), "kit/Vector.h");
  }
  EXPECT_THROW(constant.at(0xFFFFFFFF), OutOfRange);
  EXPECT_THROW(Vector<int>().at(0), OutOfRange);
}

TEST(VectorPushBack, OfFiveElementsReallocatesAtTheFirstSecondAndFourth) {
  Vector<int> vector;
  std::vector<std::uint32_t> capacities;
  for (int i = 0; i != 5; ++i) {
    vector.push_back(i);
    capacities.push_back(vector.capacity());
  }
  EXPECT_THAT(capacities, ElementsAre(1, 3, 3, 7, 7));
  EXPECT_THAT(vector, ElementsAre(0, 1, 2, 3, 4));
}

TEST(VectorPushBack, WithRoomKeepsTheStorage) {
  Vector<int> vector;
  vector.reserve(2);
  const int* const storage = vector.begin();
  vector.push_back(1);
  vector.push_back(2);
  EXPECT_EQ(vector.begin(), storage);
}

TEST(VectorPushBack, OfAnElementOfItselfAppendsItsValue) {
  Vector<std::string> vector;
  vector.push_back("a text too long for any small string");
  for (int i = 0; i != 9; ++i)
    vector.push_back(vector[0]);
  EXPECT_EQ(vector.size(), 10U);
  EXPECT_THAT(vector, testing::Each("a text too long for any small string"));
}

TEST(VectorPushBack, LeavesTheVectorWhenAnyCopyOfAReallocationThrows) {
  for (int failing = 0; failing != 4; ++failing) {
    Vector<Tracked> vector = Numbers({1, 2, 3});
    ASSERT_EQ(vector.capacity(), 3U);
    const Tracked* const storage = vector.begin();
    const Tracked element(4);
    Tracked::copiesUntilFailure = failing;
    EXPECT_THROW(vector.push_back(element), CopyFailed);
    Tracked::copiesUntilFailure = -1;
    EXPECT_THAT(Values(vector), ElementsAre(1, 2, 3));
    EXPECT_EQ(vector.begin(), storage);
    EXPECT_EQ(vector.capacity(), 3U);
    EXPECT_EQ(Tracked::alive, 4);
  }
}

TEST(VectorPushBack, LeavesTheVectorWhenTheCopyInPlaceThrows) {
  Vector<Tracked> vector = Numbers({1, 2});
  Tracked::copiesUntilFailure = 0;
  EXPECT_THROW(vector.push_back(vector[0]), CopyFailed);
  EXPECT_THAT(Values(vector), ElementsAre(1, 2));
  EXPECT_EQ(Tracked::alive, 2);
}

TEST(VectorReserve, ReallocatesToExactlyWhatIsAsked) {
  Vector<Tracked> vector = Numbers({1, 2});
  vector.reserve(10);
  EXPECT_EQ(vector.capacity(), 10U);
  EXPECT_THAT(Values(vector), ElementsAre(1, 2));
  EXPECT_EQ(Tracked::alive, 2);
}

TEST(VectorReserve, OfNoMoreThanTheCapacityDoesNothing) {
  Vector<Tracked> vector = Numbers({1, 2});
  const Tracked* const storage = vector.begin();
  vector.reserve(3);
  vector.reserve(0);
  EXPECT_EQ(vector.begin(), storage);
  EXPECT_EQ(vector.capacity(), 3U);
}

TEST(VectorReserve, ThrowsWhenTheBytesNeedMoreThanThirtyTwoBits) {
  struct Twelve {
    std::int32_t words[3];
  };
  Vector<Twelve> vector;
  EXPECT_THROW(vector.reserve(357913942), OutOfRange);
  EXPECT_THROW(vector.reserve(0xFFFFFFFF), OutOfRange);
  EXPECT_EQ(vector.capacity(), 0U);
}

TEST(VectorReserve, LeavesTheVectorWhenACopyThrows) {
  Vector<Tracked> vector = Numbers({1, 2});
  Tracked::copiesUntilFailure = 1;
  EXPECT_THROW(vector.reserve(10), CopyFailed);
  EXPECT_THAT(Values(vector), ElementsAre(1, 2));
  EXPECT_EQ(vector.capacity(), 3U);
}

TEST(VectorSwap, ExchangesElementsAndStorage) {
  Vector<Tracked> one = Numbers({1, 2});
  Vector<Tracked> other;
  const Tracked* const storage = one.begin();
  one.swap(other);
  EXPECT_EQ(one.begin(), nullptr);
  EXPECT_EQ(other.begin(), storage);
  EXPECT_THAT(Values(other), ElementsAre(1, 2));
}

TEST(VectorCalculateNewCapacity, IsTwiceTheCapacityAndOne) {
  EXPECT_EQ(Vector<int>::calculateNewCapacity(0), 1U);
  EXPECT_EQ(Vector<int>::calculateNewCapacity(1), 3U);
  EXPECT_EQ(Vector<int>::calculateNewCapacity(7), 15U);
  EXPECT_EQ(Vector<int>::calculateNewCapacity(0x7FFFFFFF), 0xFFFFFFFFU);
}

TEST(VectorCalculateNewCapacity, IsOneMoreWhereDoublingOverflows) {
  EXPECT_EQ(Vector<int>::calculateNewCapacity(0x80000000), 0x80000001U);
  EXPECT_EQ(Vector<int>::calculateNewCapacity(0xFFFFFFFE), 0xFFFFFFFFU);
}

TEST(VectorCalculateNewCapacity, ThrowsOnlyForTheLargestCapacity) {
  EXPECT_THROW(Vector<int>::calculateNewCapacity(0xFFFFFFFF), OutOfRange);
}

TEST(VectorCalculateNewCapacity, OfAVectorStartsFromItsCapacity) {
  Vector<int> vector;
  vector.reserve(5);
  EXPECT_EQ(vector.calculateNewCapacity(), 11U);
}

// A number whose serialized form says how large it claims to be; reading refuses 0xBAD.
struct Word {
  std::uint32_t value = 0;
  std::uint32_t claimedSize = 4;

  std::uint32_t serializationSize() const { return claimedSize; }
  void serialize(unsigned char*& cursor, const unsigned char* end) const {
    if (value == 0xBAD) throw CopyFailed();
    little_endian::SerializeRaw(value, cursor, end);
  }
  void deserialize(const unsigned char*& cursor, const unsigned char* end) {
    little_endian::DeserializeRaw(value, cursor, end);
    if (value == 0xBAD) throw CopyFailed();
  }
};

Vector<Word> Words(std::initializer_list<std::uint32_t> values) {
  Vector<Word> words;
  for (const std::uint32_t value : values)
    words.push_back(Word{value, 4});
  return words;
}

std::vector<std::uint32_t> Values(const Vector<Word>& words) {
  std::vector<std::uint32_t> values;
  for (const Word& word : words)
    values.push_back(word.value);
  return values;
}

TEST(VectorSerialize, WritesTheCountAndThenTheElements) {
  std::array<unsigned char, 13> bytes{};
  bytes[12] = 0xAA;
  unsigned char* cursor = bytes.data();
  const Vector<Word> words = Words({5, 0x01020304});
  EXPECT_EQ(words.serializationSize(), 12U);
  words.serialize(cursor, bytes.data() + 12);
  EXPECT_EQ(cursor, bytes.data() + 12);
  EXPECT_THAT(bytes, ElementsAre(2, 0, 0, 0, 5, 0, 0, 0, 4, 3, 2, 1, 0xAA));
}

TEST(VectorSerialize, OfNoElementsWritesACountOfZero) {
  std::array<unsigned char, 4> bytes{9, 9, 9, 9};
  unsigned char* cursor = bytes.data();
  const Vector<Word> words;
  EXPECT_EQ(words.serializationSize(), 4U);
  words.serialize(cursor, bytes.data() + 4);
  EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 0));
}

TEST(VectorSerialize, WithoutRoomForAllWritesNothing) {
  const Vector<Word> words = Words({5, 6});
  for (const std::ptrdiff_t room : {11, 4, 0, -1}) {
    std::array<unsigned char, 13> bytes{};
    unsigned char* const start = bytes.data() + 1;
    unsigned char* cursor = start;
    EXPECT_THROW(words.serialize(cursor, start + room), BufferOverflow);
    EXPECT_EQ(cursor, start);
    EXPECT_THAT(bytes, testing::Each(0));
  }
}

TEST(VectorSerialize, LeavesTheCursorWhenAnElementThrows) {
  std::array<unsigned char, 16> bytes{};
  unsigned char* cursor = bytes.data();
  EXPECT_THROW(Words({5, 0xBAD}).serialize(cursor, bytes.data() + 16), CopyFailed);
  EXPECT_EQ(cursor, bytes.data());
}

TEST(VectorSerializationSize, StopsBeforeTheElementThatNeedsMoreThanThirtyTwoBits) {
  Vector<Word> words;
  words.push_back(Word{1, 0xFFFFFFF0});
  words.push_back(Word{2, 0x10});
  words.push_back(Word{3, 4});
  EXPECT_EQ(words.serializationSize(), 0xFFFFFFF4U);
}

TEST(VectorSerialize, ChecksOnlyTheCountedElementsAheadWhereTheSizeStopsEarly) {
  Vector<Word> words = Words({5});
  words.push_back(Word{6, 0xFFFFFFFF});
  std::array<unsigned char, 8> bytes{};
  unsigned char* cursor = bytes.data();
  EXPECT_THROW(words.serialize(cursor, bytes.data() + 8), BufferOverflow);
  EXPECT_EQ(cursor, bytes.data());
  EXPECT_THAT(bytes, ElementsAre(2, 0, 0, 0, 5, 0, 0, 0));
  bytes.fill(9);
  EXPECT_THROW(words.serialize(cursor, bytes.data() + 7), BufferOverflow);
  EXPECT_THAT(bytes, testing::Each(9));
}

TEST(VectorSerializationSize, ReachesTheLargestValueExactly) {
  Vector<Word> words;
  words.push_back(Word{1, 0xFFFFFFFB});
  EXPECT_EQ(words.serializationSize(), 0xFFFFFFFFU);
}

TEST(VectorDeserialize, ReplacesTheElementsAndAdvances) {
  const std::array<unsigned char, 13> bytes{2, 0, 0, 0, 5, 0, 0, 0, 4, 3, 2, 1, 0xAA};
  const unsigned char* cursor = bytes.data();
  Vector<Word> words = Words({1, 2, 3});
  words.deserialize(cursor, bytes.data() + bytes.size());
  EXPECT_THAT(Values(words), ElementsAre(5, 0x01020304));
  EXPECT_EQ(words.capacity(), 2U);
  EXPECT_EQ(cursor, bytes.data() + 12);
}

TEST(VectorDeserialize, OfCountZeroLeavesNoElement) {
  const std::array<unsigned char, 4> bytes{0, 0, 0, 0};
  const unsigned char* cursor = bytes.data();
  Vector<Word> words = Words({1, 2, 3});
  words.deserialize(cursor, bytes.data() + 4);
  EXPECT_EQ(words.size(), 0U);
  EXPECT_EQ(cursor, bytes.data() + 4);
}

template <typename ExceptionT>
void ExpectRefused(const std::vector<unsigned char>& bytes) {
  const unsigned char* cursor = bytes.data();
  Vector<Word> words = Words({1, 2, 3});
  EXPECT_THROW(words.deserialize(cursor, bytes.data() + bytes.size()), ExceptionT);
  EXPECT_EQ(cursor, bytes.data());
  EXPECT_THAT(Values(words), ElementsAre(1, 2, 3));
}

TEST(VectorDeserialize, RefusesAnIncompleteCount) {
  ExpectRefused<DeserializationError>({1, 0, 0});
  ExpectRefused<DeserializationError>({});
}

TEST(VectorDeserialize, RefusesACountAboveTheBytesFromTheCountOn) {
  ExpectRefused<DeserializationError>({9, 0, 0, 0, 1, 0, 0, 0});
  ExpectRefused<DeserializationError>({0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0});
}

TEST(VectorDeserialize, RefusesACountThatTheElementsCannotReach) {
  ExpectRefused<DeserializationError>({2, 0, 0, 0, 1, 0, 0, 0});
  ExpectRefused<DeserializationError>({1, 0, 0, 0, 1, 0, 0});
  ExpectRefused<DeserializationError>({8, 0, 0, 0, 1, 0, 0, 0});
}

TEST(VectorDeserialize, LeavesEverythingWhenAnElementThrows) {
  ExpectRefused<CopyFailed>({2, 0, 0, 0, 1, 0, 0, 0, 0xAD, 0x0B, 0, 0});
}

TEST(VectorDeserialize, ThrowsTheErrorOfAnElementAheadOfTheLackOfBytes) {
  ExpectRefused<CopyFailed>({3, 0, 0, 0, 0xAD, 0x0B, 0, 0, 1, 0, 0, 0});
}

TEST(VectorDeserialize, ReadsElementsUpToACountOfTheBytesFromTheCountOn) {
  ExpectRefused<CopyFailed>({16, 0, 0, 0, 0xAD, 0x0B, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0});
  ExpectRefused<DeserializationError>({17, 0, 0, 0, 0xAD, 0x0B, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0});
}

TEST(VectorDeserialize, ACountWhoseBytesNeedMoreThanThirtyTwoBitsIsOutOfRange) {
  // Only the count is ever read: the bytes behind it need not be backed by memory.
  constexpr std::size_t kBytes = 0x20000000;
  void* const region = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(region, MAP_FAILED);
  auto* const bytes = static_cast<unsigned char*>(region);
  bytes[3] = 0x20;
  const unsigned char* cursor = bytes;
  Vector<Word> words;
  EXPECT_THROW(words.deserialize(cursor, bytes + kBytes), OutOfRange);
  EXPECT_EQ(cursor, bytes);
  munmap(region, kBytes);
}

}  // namespace
