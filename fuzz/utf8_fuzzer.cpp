#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/Characters.h"
#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "kit/StringCompare.h"
#include "kit/Utf8ToWide.h"
#include "kit/WideToUtf8.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/InvalidSequence.h"
#include "tests/ExactBuffer.h"
#include "tests/reference/TextOrder.h"
#include "tests/reference/Utf8.h"

// UTF-8: any bytes decode, any characters encode and any two texts compare as the reference has it.

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::fuzz::CharactersOf;
using qv::fuzz::Input;
using reference::Bytes;
using Values = std::vector<std::uint32_t>;

/// The characters up to the first place where there is none, and whether there is such a place.
struct Decoded {
  explicit Decoded(const Bytes& bytes) {
    for (std::size_t position = 0; position < bytes.size();) {
      const std::optional<reference::Character> character = reference::DecodeOne(bytes, position);
      isBroken = !character;
      if (isBroken) return;
      values.push_back(character->value);
      position += character->length;
    }
  }

  Values values;
  bool isBroken = false;
};

enum class DecodingOutcome { done, invalid, full };

template <typename Attempt>
DecodingOutcome DecodingOutcomeOf(Attempt attempt) {
  try {
    attempt();
    return DecodingOutcome::done;
  } catch (const exception::InvalidSequence&) {
    return DecodingOutcome::invalid;
  } catch (const exception::BufferOverflow&) {
    return DecodingOutcome::full;
  }
}

void CheckDecodingInto(std::size_t room, const ExactBuffer<unsigned char>& bytes,
                       const Decoded& expected) {
  SCOPED_TRACE("into room for " + std::to_string(room));
  const std::size_t fit = std::min(room, expected.values.size());
  const bool isFull = fit == room && (expected.isBroken || fit < expected.values.size());
  const DecodingOutcome failure = isFull ? DecodingOutcome::full : DecodingOutcome::invalid;
  const bool isWhole = !isFull && !expected.isBroken;

  ExactBuffer<wchar_t> out(room);
  std::uint32_t count = 0;
  EXPECT_EQ(DecodingOutcomeOf(
                [&] { count = Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()); }),
            isWhole ? DecodingOutcome::done : failure);
  EXPECT_EQ(count, isWhole ? fit : 0);
  EXPECT_EQ(
      Values(out.begin(), out.begin() + fit),
      Values(expected.values.begin(), expected.values.begin() + static_cast<std::ptrdiff_t>(fit)));

  ExactBuffer<wchar_t> cut(room);
  EXPECT_EQ(DecodingOutcomeOf([&] {
              count = Utf8ToWideNoOverflow(bytes.begin(), bytes.end(), cut.begin(), cut.end());
            }),
            isWhole || isFull ? DecodingOutcome::done : failure);
  EXPECT_EQ(count, isWhole || isFull ? fit : 0);
  EXPECT_EQ(cut.vector(), out.vector());
}

void CheckDecoding(const Bytes& input, std::size_t room) {
  const ExactBuffer<unsigned char> bytes(input);
  const Decoded expected(input);
  const DecodingOutcome outcome =
      expected.isBroken ? DecodingOutcome::invalid : DecodingOutcome::done;
  std::uint32_t length = 0;
  EXPECT_EQ(DecodingOutcomeOf([&] { length = GetUtf8StringLength(bytes.begin(), bytes.end()); }),
            outcome);
  EXPECT_EQ(length, expected.isBroken ? 0 : expected.values.size());
  std::unique_ptr<wchar_t[]> text;
  const auto size = static_cast<std::uint32_t>(bytes.size());
  EXPECT_EQ(DecodingOutcomeOf([&] { text = Utf8ToWide(bytes.begin(), size); }), outcome);
  if (text != nullptr) {
    EXPECT_EQ(Values(text.get(), text.get() + length), expected.values);
    EXPECT_EQ(text[length], L'\0');
  }
  CheckDecodingInto(expected.values.size(), bytes, expected);
  CheckDecodingInto(expected.values.size() + 1, bytes, expected);
  CheckDecodingInto(std::min(room, input.size()), bytes, expected);
}

void CheckEncoding(const std::vector<wchar_t>& characters, std::size_t room) {
  const ExactBuffer<wchar_t> text(characters);
  const Bytes expected = reference::Encode(characters);
  EXPECT_EQ(GetUtf8EncodingBytes(text.begin(), text.end()), expected.size());
  for (const std::size_t size : {expected.size(), std::min(room, expected.size())}) {
    SCOPED_TRACE("into room for " + std::to_string(size));
    Bytes fit = reference::EncodeWithin(characters, size);
    const auto limit = static_cast<std::uint32_t>(size);
    EXPECT_EQ(GetUtf8EncodingBytesWithBufferLimit(text.begin(), text.end(), limit), fit.size());
    ExactBuffer<unsigned char> out(size);
    EXPECT_EQ(WideToUtf8(text.begin(), text.end(), out.begin(), out.end()), fit.size());
    ExactBuffer<unsigned char> cut(size);
    EXPECT_EQ(WideToUtf8NoOverflow(text.begin(), text.end(), cut.begin(), cut.end()), fit.size());
    fit.resize(size);
    EXPECT_EQ(out.vector(), fit);
    EXPECT_EQ(cut.vector(), fit);
  }

  std::vector<wchar_t> terminated(characters.begin(),
                                  std::find(characters.begin(), characters.end(), L'\0'));
  Bytes expectedTerminated = reference::Encode(terminated);
  expectedTerminated.push_back(0);
  terminated.push_back(L'\0');
  const std::unique_ptr<unsigned char[]> bytes = WideToUtf8(terminated.data());
  EXPECT_EQ(Bytes(bytes.get(), bytes.get() + expectedTerminated.size()), expectedTerminated);
}

template <typename CharT, typename Compare>
void CheckOrder(const std::vector<CharT>& a, const std::vector<CharT>& b, Compare compare,
                bool ignoresCase) {
  const ExactBuffer<CharT> first(a);
  const ExactBuffer<CharT> second(b);
  EXPECT_EQ(compare(first.begin(), first.end(), second.begin(), second.end()),
            reference::Order(a, b, ignoresCase));
  EXPECT_EQ(StringCaseEqual(first.begin(), first.end(), second.begin(), second.end()),
            reference::Order(a, b, true) == 0);
}

template <typename Compare>
void CheckUtf8Order(const Bytes& a, const Bytes& b, Compare compare, bool ignoresCase) {
  const ExactBuffer<unsigned char> first(a);
  const ExactBuffer<unsigned char> second(b);
  const auto expected = reference::Utf8Order(a, b, ignoresCase);
  std::int32_t order = 0;
  EXPECT_EQ(DecodingOutcomeOf(
                [&] { order = compare(first.begin(), first.end(), second.begin(), second.end()); }),
            expected ? DecodingOutcome::done : DecodingOutcome::invalid);
  EXPECT_EQ(order, expected.value_or(0));
}

void CheckComparisons(const std::string& first, const std::string& second) {
  const std::vector<char> a(first.begin(), first.end());
  const std::vector<char> b(second.begin(), second.end());
  const auto caseCompare = [](auto... ranges) { return StringCaseCompare(ranges...); };
  const auto exactCompare = [](auto... ranges) { return StringExactCompare(ranges...); };
  CheckOrder(a, b, caseCompare, true);
  CheckOrder(a, b, exactCompare, false);
  CheckOrder(CharactersOf(first), CharactersOf(second), caseCompare, true);
  CheckOrder(CharactersOf(first), CharactersOf(second), exactCompare, false);
  const Bytes bytesA(first.begin(), first.end());
  const Bytes bytesB(second.begin(), second.end());
  const auto utf8CaseCompare = [](auto... ranges) {
    return Utf8StringCaseInsensitiveCompare(ranges...);
  };
  const auto utf8ExactCompare = [](auto... ranges) { return Utf8StringExactCompare(ranges...); };
  CheckUtf8Order(bytesA, bytesB, utf8CaseCompare, true);
  CheckUtf8Order(bytesA, bytesB, utf8ExactCompare, false);
}

}  // namespace

extern "C" int QV_FUZZER(utf8)(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t room = input.byte();
  const std::string first = input.text(input.byte());
  const std::string second = input.rest();
  const std::string both = first + second;
  CheckDecoding(Bytes(both.begin(), both.end()), room);
  CheckEncoding(CharactersOf(both), room);
  CheckComparisons(first, second);
  return 0;
}
