#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "fuzz/RunOneOf.h"
#include "kit/AutoBuffer.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "kit/Vector.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/InvalidSequence.h"
#include "tests/ExactBuffer.h"
#include "tests/reference/SerializedForms.h"

// Serialized forms: any bytes are read into any object, fresh or used, as the reference reads them,
// or refused for its reason; what was read is written as the reference writes it.

namespace {

using namespace qv::kit;
using qv::fuzz::Input;
using reference::Bytes;
using reference::FormReader;
using reference::Refusal;

/// What came of an attempt: read or written, or the way in which it was refused.
enum class Outcome { done, bytesMissing, noUtf8, noRoom };

template <typename Attempt>
Outcome OutcomeOf(Attempt attempt) {
  try {
    attempt();
    return Outcome::done;
  } catch (const exception::DeserializationError&) {
    return Outcome::bytesMissing;
  } catch (const exception::InvalidSequence&) {
    return Outcome::noUtf8;
  } catch (const exception::BufferOverflow&) {
    return Outcome::noRoom;
  } catch (const Refusal refusal) {
    return refusal == Refusal::noUtf8 ? Outcome::noUtf8 : Outcome::bytesMissing;
  }
}

// For each kind of object: what it holds as the reference has it, and how the reference reads and
// writes that.

template <typename StringT>
struct PlainString {
  using Object = StringT;
  using Contents = Bytes;
  static Contents ContentsOf(const Object& string) {
    return Contents(string.begin(), string.end());
  }
  static void Read(FormReader& reader, Contents& contents) { contents = reader.counted(); }
  static void Write(Bytes& out, const Contents& contents) {
    reference::WriteCounted(out, contents);
  }
};

struct TerminatedString {
  using Object = CountedString;
  using Contents = Bytes;
  static Contents ContentsOf(const Object& string) {
    return Contents(string.begin(), string.end());
  }
  static void Read(FormReader& reader, Contents& contents) { contents = reader.terminated(); }
  static void Write(Bytes& out, const Contents& contents) {
    reference::WriteTerminated(out, contents);
  }
};

struct WideString {
  using Object = WString;
  using Contents = std::vector<std::uint32_t>;
  static Contents ContentsOf(const Object& string) {
    return Contents(string.begin(), string.end());
  }
  static void Read(FormReader& reader, Contents& contents) { contents = reader.text(); }
  static void Write(Bytes& out, const Contents& contents) { reference::WriteText(out, contents); }
};

struct StatusElement {
  using Object = StatusChain::Element;
  using Contents = reference::Status;
  static Contents ContentsOf(const Object& element) {
    const WString* const message = element.message();
    if (message == nullptr) return {element.code(), {}};
    // Reading leaves no message rather than an empty one.
    EXPECT_FALSE(message->empty());
    return {element.code(), WideString::ContentsOf(*message)};
  }
  static void Read(FormReader& reader, Contents& contents) {
    reference::ReadStatus(reader, contents);
  }
  static void Write(Bytes& out, const Contents& contents) { reference::WriteStatus(out, contents); }
};

template <typename Element>
struct ListOf {
  using Object = Vector<typename Element::Object>;
  using Contents = std::vector<typename Element::Contents>;
  static Contents ContentsOf(const Object& vector) {
    Contents contents;
    std::transform(vector.begin(), vector.end(), std::back_inserter(contents), Element::ContentsOf);
    return contents;
  }
  static void Read(FormReader& reader, Contents& contents) {
    contents = reader.list<typename Element::Contents>(Element::Read);
  }
  static void Write(Bytes& out, const Contents& contents) {
    reference::WriteNumber(out, static_cast<std::uint32_t>(contents.size()));
    for (const auto& element : contents)
      Element::Write(out, element);
  }
};

/// A chain, and one that has shared its history since before the last reading.
struct ChainAndSharer {
  std::uint32_t serializationSize() const { return chain.serializationSize(); }
  void serialize(unsigned char*& cursor, const unsigned char* end) const {
    chain.serialize(cursor, end);
  }
  void deserialize(const unsigned char*& cursor, const unsigned char* end) {
    sharer = chain;
    const unsigned char* const returned = chain.deserialize(cursor, end);
    EXPECT_EQ(returned, cursor);
  }

  StatusChain chain;
  StatusChain sharer;
};

struct Chain {
  using Object = ChainAndSharer;
  using History = ListOf<StatusElement>;
  struct Contents {
    reference::Status current{StatusChain::kNotSet, {}};
    History::Contents history;
    History::Contents sharedHistory;
    friend bool operator==(const Contents& a, const Contents& b) {
      return a.current == b.current && a.history == b.history && a.sharedHistory == b.sharedHistory;
    }
    friend void PrintTo(const Contents& contents, std::ostream* out) {
      *out << testing::PrintToString(contents.current) << ", history "
           << testing::PrintToString(contents.history) << ", the sharer's "
           << testing::PrintToString(contents.sharedHistory);
    }
  };
  static History::Contents HistoryOf(const StatusChain& chain) {
    if (chain.history() == nullptr) return {};
    EXPECT_NE(chain.history()->size(), 0U);
    return History::ContentsOf(*chain.history());
  }
  static Contents ContentsOf(const Object& object) {
    return {StatusElement::ContentsOf(object.chain.current()), HistoryOf(object.chain),
            HistoryOf(object.sharer)};
  }
  static void Read(FormReader& reader, Contents& contents) {
    contents.sharedHistory = contents.history;
    StatusElement::Read(reader, contents.current);
    History::Read(reader, contents.history);
    // A history that ends is only let go of; one that goes on goes on for both.
    if (!contents.sharedHistory.empty() && !contents.history.empty()) {
      contents.sharedHistory = contents.history;
    }
  }
  static void Write(Bytes& out, const Contents& contents) {
    StatusElement::Write(out, contents.current);
    History::Write(out, contents.history);
  }
};

struct Buffer {
  using Object = AutoBuffer;
  using Contents = Bytes;
  static Contents ContentsOf(const Object& buffer) {
    return Contents(buffer.Data(), buffer.Data() + buffer.Len());
  }
  static void Read(FormReader& reader, Contents& contents) { contents = reader.counted(); }
  static void Write(Bytes& out, const Contents& contents) {
    reference::WriteCounted(out, contents);
  }
};

/// Tries to write into so much room.
template <typename Object>
void ExpectNoRoom(const Object& object, std::size_t room) {
  SCOPED_TRACE("with room for " + std::to_string(room));
  ExactBuffer<unsigned char> out(room);
  unsigned char* cursor = out.begin();
  EXPECT_EQ(OutcomeOf([&] { object.serialize(cursor, out.end()); }), Outcome::noRoom);
  EXPECT_EQ(cursor, out.begin());
}

template <typename Form>
void ExpectWritten(const typename Form::Object& object, const typename Form::Contents& contents) {
  Bytes expected;
  Form::Write(expected, contents);
  ASSERT_EQ(object.serializationSize(), expected.size());
  ExactBuffer<unsigned char> out(expected.size());
  unsigned char* cursor = out.begin();
  object.serialize(cursor, out.end());
  EXPECT_EQ(cursor, out.end());
  EXPECT_EQ(out.vector(), expected);
  ExpectNoRoom(object, expected.size() - 1);
  ExpectNoRoom(object, expected.size() / 2);
}

/// Reads one form after another from the bytes into the same object. A byte where none can be read
/// is stepped over.
template <typename Form>
void ReadAll(Input& input) {
  constexpr int kReadings = 8;
  const std::string text = input.rest();
  const ExactBuffer<unsigned char> bytes(Bytes(text.begin(), text.end()));
  const Bytes copy = bytes.vector();
  typename Form::Object object;
  typename Form::Contents expected{};
  std::size_t position = 0;
  for (int reading = 0; reading < kReadings && position <= copy.size(); ++reading) {
    SCOPED_TRACE("at " + std::to_string(position));
    FormReader reader(copy, position);
    const Outcome outcome = OutcomeOf([&] { Form::Read(reader, expected); });
    const std::size_t behind = outcome == Outcome::done ? reader.position() : position;

    const unsigned char* cursor = bytes.begin() + position;
    EXPECT_EQ(OutcomeOf([&] { object.deserialize(cursor, bytes.end()); }), outcome);
    EXPECT_EQ(static_cast<std::size_t>(cursor - bytes.begin()), behind);
    EXPECT_EQ(Form::ContentsOf(object), expected);
    ExpectWritten<Form>(object, expected);
    position = outcome == Outcome::done ? behind : position + 1;
  }
}

/// A ring is one record, wherever in it that begins; cursors may stand at the end.
void ReadRing(Input& input) {
  const std::uint32_t choice = input.below(0x10000);
  const std::string text = input.rest();
  const ExactBuffer<unsigned char> ring(Bytes(text.begin(), text.end()));
  const std::size_t start = choice % (ring.size() + 1);
  const Bytes inOrder = reference::RingFrom(ring.vector(), start);

  Bytes expected{'o', 'l', 'd'};
  FormReader sizeReader(inOrder, 0);
  std::uint32_t length = 0;
  const Outcome sizeOutcome = OutcomeOf([&] { length = sizeReader.number(); });
  const unsigned char* cursor = ring.begin() + start;
  std::uint32_t found = 0;
  EXPECT_EQ(OutcomeOf([&] {
              found = AutoBuffer::GetCircularDeserializationSize(ring.begin(), ring.end(), cursor);
            }),
            sizeOutcome);
  EXPECT_EQ(found, length);
  const auto behind = [&](Outcome outcome, std::size_t count) {
    return outcome == Outcome::done ? (start + count) % ring.size() : start;
  };
  EXPECT_EQ(static_cast<std::size_t>(cursor - ring.begin()), behind(sizeOutcome, 4));

  AutoBuffer buffer(BufferWrapper("old", 3));
  FormReader reader(inOrder, 0);
  const Outcome outcome = OutcomeOf([&] { expected = reader.counted(); });
  cursor = ring.begin() + start;
  EXPECT_EQ(OutcomeOf([&] { buffer.circularDeserialize(ring.begin(), ring.end(), cursor); }),
            outcome);
  EXPECT_EQ(static_cast<std::size_t>(cursor - ring.begin()), behind(outcome, 4 + expected.size()));
  EXPECT_EQ(Buffer::ContentsOf(buffer), expected);
}

void WriteRing(Input& input) {
  const std::size_t size = input.below(0x200);
  const std::size_t start = input.below(0x10000) % (size + 1);
  const std::string text = input.text(0xFF);
  // One byte behind the end that nobody may touch.
  Bytes ring(size + 1, 0xAA);
  unsigned char* cursor = ring.data() + start;
  const AutoBuffer buffer(BufferWrapper(text.data(), text.size()));
  const bool fits = text.size() + 4 <= size;
  EXPECT_EQ(OutcomeOf([&] { buffer.circularSerialize(ring.data(), ring.data() + size, cursor); }),
            fits ? Outcome::done : Outcome::noRoom);
  const std::size_t behind = fits ? (start + text.size() + 4) % size : start;
  EXPECT_EQ(static_cast<std::size_t>(cursor - ring.data()), behind);
  EXPECT_EQ(ring, fits ? reference::RingWith(size, start, text) : Bytes(size + 1, 0xAA));
}

constexpr qv::fuzz::Check kFormChecks[] = {
    &ReadAll<Chain>,
    &ReadAll<WideString>,
    &ReadAll<PlainString<String>>,
    &ReadAll<PlainString<Utf8String>>,
    &ReadAll<TerminatedString>,
    &ReadAll<StatusElement>,
    &ReadAll<ListOf<StatusElement>>,
    &ReadAll<ListOf<WideString>>,
    &ReadAll<ListOf<PlainString<String>>>,
    &ReadAll<ListOf<TerminatedString>>,
    &ReadAll<Buffer>,
    &ReadRing,
    &WriteRing,
};

}  // namespace

extern "C" int QV_FUZZER(serialization)(const std::uint8_t* data, std::size_t size) {
  qv::fuzz::RunOneOf(kFormChecks, data, size);
  return 0;
}
