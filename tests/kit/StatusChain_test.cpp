#include "kit/StatusChain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/InvalidSequence.h"
#include "kit/exception/OutOfRange.h"
#include "tests/Longs.h"

namespace {

using namespace qv::kit;
using exception::BufferOverflow;
using exception::DeserializationError;
using exception::InvalidSequence;
using exception::OutOfRange;
using testing::ElementsAreArray;
using Element = StatusChain::Element;
using Bytes = std::vector<unsigned char>;

constexpr std::int32_t kNotSetCode = -2147467259;

template <typename Serializable>
Bytes Serialized(const Serializable& object) {
  Bytes bytes(object.serializationSize());
  unsigned char* cursor = bytes.data();
  object.serialize(cursor, bytes.data() + bytes.size());
  EXPECT_EQ(cursor, bytes.data() + bytes.size());
  return bytes;
}

void Read(StatusChain& chain, const Bytes& bytes) {
  const unsigned char* cursor = bytes.data();
  EXPECT_EQ(chain.deserialize(cursor, bytes.data() + bytes.size()), bytes.data() + bytes.size());
  EXPECT_EQ(cursor, bytes.data() + bytes.size());
}

template <typename ExceptionT, typename Serializable>
void ExpectRefused(Serializable& object, const Bytes& bytes) {
  const unsigned char* cursor = bytes.data();
  EXPECT_THROW(object.deserialize(cursor, bytes.data() + bytes.size()), ExceptionT);
  EXPECT_EQ(cursor, bytes.data());
}

Bytes Word(std::uint32_t value) {
  return {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
          static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
}

Bytes Joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts)
    all.insert(all.end(), part.begin(), part.end());
  return all;
}

Bytes Status(std::int32_t code, const std::string& message = "") {
  return Joined({Word(static_cast<std::uint32_t>(code)),
                 Word(static_cast<std::uint32_t>(message.size())),
                 Bytes(message.begin(), message.end())});
}

StatusChain ChainWith(std::int32_t code, const std::string& message = "") {
  StatusChain chain;
  Read(chain, Joined({Status(code, message), Word(0)}));
  return chain;
}

std::vector<std::int32_t> HistoryCodes(const StatusChain& chain) {
  std::vector<std::int32_t> codes;
  if (chain.history() == nullptr) return codes;
  for (const Element& element : *chain.history())
    codes.push_back(element.code());
  return codes;
}

// Exact, unlike the operators.
bool HasMessage(const Element& element, const wchar_t* text) {
  return element.message() != nullptr && element.message()->exactCompare(text) == 0;
}

TEST(StatusChainElement, StartsAtZeroWithoutAMessage) {
  const Element element;
  EXPECT_EQ(element.code(), 0);
  EXPECT_EQ(element.message(), nullptr);
}

TEST(StatusChainElement, CreatesAMessageAsACopyOrEmpty) {
  const WString text(L"text");
  Element copied;
  copied.createMessage(&text);
  EXPECT_NE(copied.message(), &text);
  EXPECT_TRUE(HasMessage(copied, L"text"));
  Element empty;
  empty.createMessage(nullptr);
  EXPECT_TRUE(HasMessage(empty, L""));
}

TEST(StatusChainElement, ClearsItsMessage) {
  Element element;
  element.clearMessage();
  element.createMessage(nullptr);
  element.clearMessage();
  EXPECT_EQ(element.message(), nullptr);
}

TEST(StatusChainElementCopy, CreatesAMessageWhereThereIsNone) {
  const WString text(L"text");
  Element source(3);
  source.createMessage(&text);
  Element target;
  target.copy(source);
  EXPECT_EQ(target.code(), 3);
  EXPECT_TRUE(HasMessage(target, L"text"));
  EXPECT_NE(target.message(), source.message());
}

TEST(StatusChainElementCopy, AssignsToTheMessageThatIsThere) {
  const WString text(L"text");
  Element source;
  source.createMessage(&text);
  Element target;
  target.createMessage(nullptr);
  const WString* const message = target.message();
  target.copy(source);
  EXPECT_EQ(target.message(), message);
  EXPECT_TRUE(HasMessage(target, L"text"));
}

TEST(StatusChainElementCopy, OfNoMessageClearsTheMessage) {
  Element target(9);
  target.createMessage(nullptr);
  target.copy(Element(-4));
  EXPECT_EQ(target.code(), -4);
  EXPECT_EQ(target.message(), nullptr);
}

TEST(StatusChainElementCopy, OfItselfChangesNothing) {
  const WString text(L"text");
  Element element(3);
  element.createMessage(&text);
  element.copy(element);
  element = static_cast<const Element&>(element);
  EXPECT_EQ(element.code(), 3);
  EXPECT_TRUE(HasMessage(element, L"text"));
}

TEST(StatusChainElement, SerializesToEightBytesWithoutAMessage) {
  const Element element(-2);
  EXPECT_EQ(element.serializationSize(), 8U);
  EXPECT_THAT(Serialized(element), ElementsAreArray({0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
}

TEST(StatusChainElement, SerializesItsMessageAsUtf8) {
  const WString text(L"a\u20AC");
  Element element(1);
  element.createMessage(&text);
  EXPECT_EQ(element.serializationSize(), 12U);
  EXPECT_THAT(Serialized(element),
              ElementsAreArray({1, 0, 0, 0, 4, 0, 0, 0, 0x61, 0xE2, 0x82, 0xAC}));
}

TEST(StatusChainElement, SerializesAnEmptyMessageAsNone) {
  Element element(1);
  element.createMessage(nullptr);
  EXPECT_EQ(Serialized(element), Serialized(Element(1)));
}

TEST(StatusChainElement, ReadsBackWhatItSerialized) {
  const WString text(L"a\u20AC");
  Element element(kNotSetCode);
  element.createMessage(&text);
  const Bytes bytes = Serialized(element);
  const unsigned char* cursor = bytes.data();
  Element read;
  read.deserialize(cursor, bytes.data() + bytes.size());
  EXPECT_EQ(cursor, bytes.data() + bytes.size());
  EXPECT_EQ(read.code(), kNotSetCode);
  EXPECT_TRUE(HasMessage(read, L"a\u20AC"));
}

TEST(StatusChainElement, LeavesTheCursorWhenThereIsNoRoomForItsMessage) {
  const WString text(L"ab");
  Element element(1);
  element.createMessage(&text);
  Bytes bytes(9, 0xAA);
  unsigned char* cursor = bytes.data();
  EXPECT_THROW(element.serialize(cursor, bytes.data() + bytes.size()), BufferOverflow);
  EXPECT_EQ(cursor, bytes.data());
  EXPECT_THAT(bytes, ElementsAreArray({1, 0, 0, 0, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA}));
}

TEST(StatusChainElement, LeavesNoMessageBehindWhenReadingOneFails) {
  Element element;
  ExpectRefused<DeserializationError>(element, Joined({Word(5), Word(3), {'a', 'b'}}));
  EXPECT_EQ(element.message(), nullptr);
  EXPECT_EQ(element.code(), 5);
  ExpectRefused<InvalidSequence>(element, Joined({Word(6), Word(1), {0xFF}}));
  EXPECT_EQ(element.message(), nullptr);
}

TEST(StatusChain, StartsNotSetWhichCountsAsAnError) {
  const StatusChain chain;
  EXPECT_EQ(chain.code(), kNotSetCode);
  EXPECT_LT(chain.code(), 0);
  EXPECT_EQ(chain.current().message(), nullptr);
  EXPECT_EQ(chain.history(), nullptr);
}

StatusChain ChainWithEverything() {
  StatusChain chain = ChainWith(-1, "ab");
  chain.pushCurrent();
  return chain;
}

TEST(StatusChainClear, LeavesSuccessAlone) {
  StatusChain chain = ChainWithEverything();
  chain.clear();
  EXPECT_EQ(chain.code(), 0);
  EXPECT_EQ(chain.current().message(), nullptr);
  EXPECT_EQ(chain.history(), nullptr);
}

TEST(StatusChainReset, LeavesTheChainAsNew) {
  StatusChain chain = ChainWithEverything();
  chain.reset();
  EXPECT_EQ(chain.code(), kNotSetCode);
  EXPECT_EQ(chain.current().message(), nullptr);
  EXPECT_EQ(chain.history(), nullptr);
}

TEST(StatusChainSet, StoresTheCodeAndDropsTheMessageAndKeepsTheHistory) {
  StatusChain chain = ChainWith(5, "ab");
  chain.pushCurrent();
  chain.set(-1);
  EXPECT_EQ(chain.code(), -1);
  EXPECT_EQ(chain.current().message(), nullptr);
  EXPECT_THAT(HistoryCodes(chain), testing::ElementsAre(5));
}

TEST(StatusChainSet, OverwritesAnyCodeByAnyOther) {
  StatusChain chain;
  for (const std::int32_t code : {-1, 3, 0, -5, 0, INT32_MAX, INT32_MIN}) {
    chain.set(code);
    EXPECT_EQ(chain.code(), code);
  }
}

TEST(StatusChainSet, TakesACodeWrittenAsAnUnsignedLiteralAsNegative) {
  StatusChain chain;
  chain.clear();
  chain.set(0x80004005);
  EXPECT_EQ(chain.code(), kNotSetCode);
  chain.set(0x8ABC7007);
  EXPECT_EQ(chain.code(), -1967362041);
}

TEST(StatusChainSet, TakesALongOfThirtyTwoBitsAndRefusesAnyOther) {
  for (const auto code : LongsAroundTheLimits<long>()) {
    StatusChain chain = ChainWith(5, "ab");
    if (FitsInt32(code) || FitsUint32(static_cast<std::uint64_t>(code))) {
      chain.set(code);
      EXPECT_EQ(chain.code(), static_cast<std::int32_t>(code));
    } else {
      EXPECT_THROW(chain.set(code), OutOfRange) << code;
      EXPECT_EQ(chain.code(), 5);
      EXPECT_TRUE(HasMessage(chain.current(), L"ab"));
    }
  }
}

TEST(StatusChainPushCurrentIfNeeded, DoesNothing) {
  StatusChain chain = ChainWith(5, "ab");
  chain.pushCurrentIfNeeded();
  EXPECT_EQ(chain.history(), nullptr);
  EXPECT_TRUE(HasMessage(chain.current(), L"ab"));
}

TEST(StatusChainPushCurrent, AppendsACopyAndLeavesTheCurrentStatus) {
  StatusChain chain = ChainWith(5, "ab");
  chain.pushCurrent();
  EXPECT_EQ(chain.code(), 5);
  EXPECT_TRUE(HasMessage(chain.current(), L"ab"));
  ASSERT_EQ(chain.history()->size(), 1U);
  EXPECT_TRUE(HasMessage((*chain.history())[0], L"ab"));
  EXPECT_NE((*chain.history())[0].message(), chain.current().message());
}

TEST(StatusChainPushCurrent, KeepsTheOldestFirstAndGrowsAsVectorsDo) {
  StatusChain chain;
  std::vector<std::uint32_t> capacities;
  for (int code = 1; code != 6; ++code) {
    chain.set(code);
    chain.pushCurrent();
    capacities.push_back(chain.history()->capacity());
  }
  EXPECT_THAT(HistoryCodes(chain), testing::ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(capacities, testing::ElementsAre(1, 3, 3, 7, 7));
}

TEST(StatusChainHistory, IsCreatedEmptyOnceAndCleanedUp) {
  StatusChain chain;
  chain.createHistoryIfNeeded();
  ASSERT_NE(chain.history(), nullptr);
  EXPECT_EQ(chain.history()->size(), 0U);
  chain.pushCurrent();
  chain.createHistoryIfNeeded();
  EXPECT_EQ(chain.history()->size(), 1U);
  chain.cleanupHistory();
  EXPECT_EQ(chain.history(), nullptr);
  chain.cleanupHistory();
}

TEST(StatusChainCopy, TakesCodeAndMessage) {
  const StatusChain source = ChainWith(7, "text");
  StatusChain target = ChainWithEverything();
  target.copy(source);
  EXPECT_EQ(target.code(), 7);
  EXPECT_TRUE(HasMessage(target.current(), L"text"));
  EXPECT_EQ(target.history(), nullptr);
}

TEST(StatusChainCopy, SharesTheHistorySoThatBothSeeWhatEitherAdds) {
  StatusChain b;
  b.set(1);
  b.pushCurrent();
  StatusChain a;
  a.copy(b);
  EXPECT_EQ(a.history(), b.history());
  a.set(2);
  a.pushCurrent();
  EXPECT_THAT(HistoryCodes(b), testing::ElementsAre(1, 2));
  b.set(3);
  b.pushCurrent();
  EXPECT_THAT(HistoryCodes(a), testing::ElementsAre(1, 2, 3));
}

TEST(StatusChainCopy, ReplacesAHistoryOfItsOwn) {
  StatusChain b;
  b.set(1);
  b.pushCurrent();
  StatusChain a;
  a.set(9);
  a.pushCurrent();
  a.copy(b);
  EXPECT_THAT(HistoryCodes(a), testing::ElementsAre(1));
}

TEST(StatusChainCopy, TheSharedHistoryLivesAsLongAsTheLastChain) {
  StatusChain a;
  {
    StatusChain b = ChainWith(4, "kept");
    b.pushCurrent();
    a.copy(b);
  }
  EXPECT_TRUE(HasMessage((*a.history())[0], L"kept"));
}

TEST(StatusChainCopy, OneChainLettingGoOfTheHistoryLeavesItToTheOther) {
  StatusChain b;
  b.set(1);
  b.pushCurrent();
  StatusChain a;
  a.copy(b);
  b.clear();
  EXPECT_EQ(b.history(), nullptr);
  EXPECT_THAT(HistoryCodes(a), testing::ElementsAre(1));
}

TEST(StatusChainCopy, OfItselfChangesNothing) {
  StatusChain chain = ChainWithEverything();
  chain.copy(chain);
  chain = static_cast<const StatusChain&>(chain);
  EXPECT_EQ(chain.code(), -1);
  EXPECT_TRUE(HasMessage(chain.current(), L"ab"));
  EXPECT_THAT(HistoryCodes(chain), testing::ElementsAre(-1));
}

TEST(StatusChainCopy, IsWhatConstructionAndAssignmentDo) {
  const StatusChain source = ChainWithEverything();
  const StatusChain constructed(source);
  StatusChain assigned;
  assigned = source;
  const std::vector<const StatusChain*> copies{&constructed, &assigned};
  for (const StatusChain* const chain : copies) {
    EXPECT_EQ(chain->code(), -1);
    EXPECT_TRUE(HasMessage(chain->current(), L"ab"));
    EXPECT_EQ(chain->history(), source.history());
  }
}

struct Merge {
  const char* name;
  std::int32_t thisCode;
  std::int32_t otherCode;
  bool takesOther;
};

class StatusChainMerge : public testing::TestWithParam<Merge> {};

TEST_P(StatusChainMerge, KeepsTheStatusThatMattersMore) {
  StatusChain chain = ChainWith(GetParam().thisCode, "this");
  chain.pushCurrent();
  StatusChain other = ChainWith(GetParam().otherCode, "other");
  other.pushCurrent();
  chain.merge(other);
  const bool takesOther = GetParam().takesOther;
  EXPECT_EQ(chain.code(), takesOther ? GetParam().otherCode : GetParam().thisCode);
  EXPECT_TRUE(HasMessage(chain.current(), takesOther ? L"other" : L"this"));
  EXPECT_EQ(chain.history() == other.history(), takesOther);
}

INSTANTIATE_TEST_SUITE_P(
    AllRules, StatusChainMerge,
    testing::Values(
        Merge{"EqualErrors", -7, -7, false}, Merge{"EqualWarnings", 3, 3, false},
        Merge{"EqualSuccess", 0, 0, false}, Merge{"BothNotSet", kNotSetCode, kNotSetCode, false},
        Merge{"SuccessIntoNotSet", kNotSetCode, 0, true},
        Merge{"WarningIntoNotSet", kNotSetCode, 3, true},
        Merge{"ErrorIntoNotSet", kNotSetCode, -3, true}, Merge{"ErrorIntoSuccess", 0, -1, true},
        Merge{"ErrorIntoWarning", 5, -1, true}, Merge{"LaterErrorIntoError", -1, -7, true},
        Merge{"LaterErrorIntoLowerError", -7, -1, true},
        Merge{"NotSetIntoSuccess", 0, kNotSetCode, true},
        Merge{"NotSetIntoError", -1, kNotSetCode, true}, Merge{"SuccessIntoError", -1, 0, false},
        Merge{"WarningIntoError", -1, 5, false}, Merge{"WarningIntoSuccess", 0, 5, true},
        Merge{"LeastWarningIntoSuccess", 0, 1, true}, Merge{"LaterWarningIntoWarning", 3, 5, true},
        Merge{"LaterWarningIntoHigherWarning", 5, 3, true},
        Merge{"SuccessIntoWarning", 3, 0, false}),
    [](const auto& info) { return info.param.name; });

TEST(StatusChainMerge, OfItselfChangesNothing) {
  StatusChain chain = ChainWithEverything();
  chain.merge(chain);
  EXPECT_EQ(chain.code(), -1);
  EXPECT_THAT(HistoryCodes(chain), testing::ElementsAre(-1));
}

TEST(StatusChainSerialize, WithoutMessageAndHistoryWritesTwelveBytes) {
  StatusChain chain;
  EXPECT_EQ(chain.serializationSize(), 12U);
  EXPECT_THAT(Serialized(chain), ElementsAreArray({5, 0x40, 0, 0x80, 0, 0, 0, 0, 0, 0, 0, 0}));
}

StatusChain ChainOfTwentyTwoBytes() {
  StatusChain chain;
  Read(chain, Joined({Status(-1, "ab"), Word(1), Status(5)}));
  return chain;
}

TEST(StatusChainSerialize, WritesMessageAndHistory) {
  const StatusChain chain = ChainOfTwentyTwoBytes();
  EXPECT_EQ(chain.serializationSize(), 22U);
  EXPECT_THAT(Serialized(chain),
              ElementsAreArray({0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 0x61, 0x62, 1,
                                0,    0,    0,    5,    0, 0, 0, 0, 0,    0,    0}));
}

TEST(StatusChainSerialize, WritesAnEmptyHistoryAsNone) {
  StatusChain chain;
  chain.createHistoryIfNeeded();
  EXPECT_EQ(Serialized(chain), Serialized(StatusChain()));
}

TEST(StatusChainSerialize, WithoutRoomLeavesTheCursor) {
  const StatusChain plain;
  Bytes eleven(11);
  unsigned char* cursor = eleven.data();
  EXPECT_THROW(plain.serialize(cursor, eleven.data() + 11), BufferOverflow);
  EXPECT_EQ(cursor, eleven.data());

  const StatusChain full = ChainOfTwentyTwoBytes();
  for (std::size_t room = 0; room != 22; ++room) {
    Bytes bytes(room);
    unsigned char* start = bytes.data();
    EXPECT_THROW(full.serialize(start, bytes.data() + room), BufferOverflow) << room;
    EXPECT_EQ(start, bytes.data());
  }
}

TEST(StatusChainSerialize, BytesBeforeTheFailureStayWritten) {
  const StatusChain full = ChainOfTwentyTwoBytes();
  Bytes bytes(21, 0xAA);
  unsigned char* cursor = bytes.data();
  EXPECT_THROW(full.serialize(cursor, bytes.data() + bytes.size()), BufferOverflow);
  EXPECT_THAT(Bytes(bytes.begin(), bytes.begin() + 10),
              ElementsAreArray({0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 0x61, 0x62}));
  EXPECT_THAT(Bytes(bytes.begin() + 10, bytes.end()), testing::Each(0xAA));
}

TEST(StatusChainDeserialize, ReadsWhatWasSerializedAndReturnsTheCursor) {
  const Bytes bytes = Joined({Status(-1, "ab"), Word(2), Status(5, "\xC3\xA9"), Status(6), {0xAA}});
  const unsigned char* cursor = bytes.data();
  StatusChain chain;
  EXPECT_EQ(chain.deserialize(cursor, bytes.data() + bytes.size()), cursor);
  EXPECT_EQ(cursor, bytes.data() + bytes.size() - 1);
  EXPECT_EQ(chain.code(), -1);
  EXPECT_TRUE(HasMessage(chain.current(), L"ab"));
  EXPECT_THAT(HistoryCodes(chain), testing::ElementsAre(5, 6));
  EXPECT_TRUE(HasMessage((*chain.history())[0], L"\u00E9"));
  EXPECT_EQ((*chain.history())[1].message(), nullptr);
}

TEST(StatusChainDeserialize, OfAnEmptyMessageRemovesTheMessage) {
  StatusChain chain = ChainWith(1, "ab");
  Read(chain, Joined({Status(2), Word(0)}));
  EXPECT_EQ(chain.code(), 2);
  EXPECT_EQ(chain.current().message(), nullptr);
}

TEST(StatusChainDeserialize, OfNoHistoryLetsGoOfTheHistory) {
  StatusChain chain = ChainOfTwentyTwoBytes();
  Read(chain, Joined({Status(2), Word(0)}));
  EXPECT_EQ(chain.history(), nullptr);
}

TEST(StatusChainDeserialize, ChangesASharedHistoryForAllThatShareIt) {
  StatusChain b = ChainOfTwentyTwoBytes();
  StatusChain a;
  a.copy(b);
  Read(a, Joined({Status(0), Word(2), Status(8), Status(9)}));
  EXPECT_EQ(a.history(), b.history());
  EXPECT_THAT(HistoryCodes(b), testing::ElementsAre(8, 9));
  EXPECT_EQ(b.code(), -1);
}

TEST(StatusChainDeserialize, OfNoHistoryReleasesOnlyTheReadersShare) {
  StatusChain b = ChainOfTwentyTwoBytes();
  StatusChain a;
  a.copy(b);
  Read(a, Joined({Status(0), Word(0)}));
  EXPECT_EQ(a.history(), nullptr);
  EXPECT_THAT(HistoryCodes(b), testing::ElementsAre(5));
}

TEST(StatusChainDeserialize, RefusesEveryTruncationAndLeavesTheCursor) {
  const Bytes whole = Serialized(ChainOfTwentyTwoBytes());
  for (std::size_t length = 0; length != whole.size(); ++length) {
    StatusChain chain;
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    ExpectRefused<DeserializationError>(chain, part);
    EXPECT_EQ(chain.history(), nullptr) << length;
    EXPECT_EQ(chain.current().message() == nullptr, length < 10) << length;
  }
}

TEST(StatusChainDeserialize, AFailureInTheMessageLeavesTheNewCodeBesideTheOldMessage) {
  StatusChain chain = ChainWith(1, "old");
  ExpectRefused<InvalidSequence>(chain, Joined({Status(2, "\xFF"), Word(0)}));
  EXPECT_EQ(chain.code(), 2);
  EXPECT_TRUE(HasMessage(chain.current(), L"old"));
  ExpectRefused<DeserializationError>(chain, Joined({Word(3), Word(100), Bytes{'a'}}));
  EXPECT_EQ(chain.code(), 3);
  EXPECT_TRUE(HasMessage(chain.current(), L"old"));
}

TEST(StatusChainDeserialize, AFailureInTheHistoryLeavesTheOldHistory) {
  StatusChain chain = ChainOfTwentyTwoBytes();
  ExpectRefused<InvalidSequence>(chain,
                                 Joined({Status(2, "new"), Word(2), Status(8), Status(9, "\xC0")}));
  EXPECT_EQ(chain.code(), 2);
  EXPECT_TRUE(HasMessage(chain.current(), L"new"));
  EXPECT_THAT(HistoryCodes(chain), testing::ElementsAre(5));
}

TEST(StatusChainDeserialize, RefusesAHistoryCountThatCannotFollow) {
  const Bytes twelve(12);
  for (const std::uint32_t count : {1000U, 0xFFFFFFFFU, 17U, 16U, 2U}) {
    StatusChain chain;
    ExpectRefused<DeserializationError>(chain, Joined({Status(1), Word(count), twelve}));
    EXPECT_EQ(chain.history(), nullptr);
  }
}

TEST(StatusChainDeserialize, ReadsElementsUpToACountOfTheBytesFromTheCountOn) {
  const Bytes elements = Joined({Status(8, "\xFF"), Bytes(3)});
  ASSERT_EQ(elements.size(), 12U);
  StatusChain chain;
  ExpectRefused<InvalidSequence>(chain, Joined({Status(1), Word(16), elements}));
  ExpectRefused<DeserializationError>(chain, Joined({Status(1), Word(17), elements}));
}

TEST(StatusChainDeserialize, RefusesAMessageLengthThatCannotFollow) {
  for (const std::uint32_t length : {5U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    StatusChain chain;
    ExpectRefused<DeserializationError>(chain, Joined({Word(1), Word(length), Word(0)}));
    EXPECT_EQ(chain.current().message(), nullptr);
  }
}

}  // namespace
