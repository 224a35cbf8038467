#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "kit/AutoBuffer.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "kit/Vector.h"
#include "kit/big_endian.h"
#include "kit/little_endian.h"
#include "tests/exchange/ExchangedFile.h"
#include "tests/exchange/KnownValues.h"

namespace qv::tests {
namespace {

using namespace qv::kit;
using Element = StatusChain::Element;

/// An integer that has no more to it than its serialized form.
template <typename Integer>
struct Word {
  Integer value = 0;

  std::uint32_t serializationSize() const { return 4; }
  void serialize(unsigned char*& cursor, const unsigned char* end) const {
    little_endian::SerializeRaw<Integer>(value, cursor, end);
  }
  void deserialize(const unsigned char*& cursor, const unsigned char* end) {
    little_endian::DeserializeRaw<Integer>(value, cursor, end);
  }
};

/// The same, the other way round.
template <typename Integer>
struct ReversedWord {
  Word<Integer> word;

  std::uint32_t serializationSize() const { return 4; }
  void serialize(unsigned char*& cursor, const unsigned char* end) const {
    std::array<unsigned char, 4> bytes{};
    unsigned char* position = bytes.data();
    word.serialize(position, position + bytes.size());
    Require(end - cursor >= 4, "has no room");
    big_endian::CopyToBigEndian(4, cursor, bytes.data());
    cursor += 4;
  }
  void deserialize(const unsigned char*& cursor, const unsigned char* end) {
    std::array<unsigned char, 4> bytes{};
    Require(end - cursor >= 4, "is cut off");
    big_endian::CopyFromBigEndian(4, bytes.data(), cursor);
    const unsigned char* position = bytes.data();
    word.deserialize(position, position + bytes.size());
    cursor += 4;
  }
};

template <typename Integer>
bool AreSame(const Word<Integer>& a, const Word<Integer>& b) {
  return a.value == b.value;
}

template <typename Integer>
bool AreSame(const ReversedWord<Integer>& a, const ReversedWord<Integer>& b) {
  return AreSame(a.word, b.word);
}

// To the last bit: the operators of strings disregard case.
template <typename C, typename O, typename T>
bool AreSame(const StringBase<C, O, T>& a, const StringBase<C, O, T>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

bool AreSame(const AutoBuffer& a, const AutoBuffer& b) {
  return a == b;
}

bool AreSame(const Element& a, const Element& b) {
  if (a.code() != b.code() || (a.message() == nullptr) != (b.message() == nullptr)) return false;
  return a.message() == nullptr || AreSame(*a.message(), *b.message());
}

template <typename T>
bool AreSame(const Vector<T>& a, const Vector<T>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const T& left, const T& right) { return AreSame(left, right); });
}

Vector<Element> StatusesOf(const StatusChain& chain) {
  Vector<Element> statuses;
  statuses.push_back(chain.current());
  if (chain.history() == nullptr) return statuses;
  for (const Element& status : *chain.history())
    statuses.push_back(status);
  return statuses;
}

bool AreSame(const StatusChain& a, const StatusChain& b) {
  return AreSame(StatusesOf(a), StatusesOf(b));
}

template <typename T>
std::string Serialized(const T& value) {
  std::string bytes(value.serializationSize(), '\0');
  auto* cursor = reinterpret_cast<unsigned char*>(bytes.data());
  const unsigned char* const end = cursor + bytes.size();
  value.serialize(cursor, end);
  Require(cursor == end, "is shorter than it says");
  return bytes;
}

template <typename T>
void Write(const std::string& name, const std::vector<Known<T>>& values) {
  std::ofstream file(name, std::ios::binary);
  for (const Known<T>& known : values)
    WithValue(known.name, [&] { file << Serialized(known.value); });
  file.close();
  Require(!file.fail(), "cannot be written");
}

template <typename T>
void Read(const std::string& name, const std::vector<Known<T>>& values) {
  std::ifstream file(name, std::ios::binary);
  Require(file.is_open(), "is missing");
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  const auto* cursor = reinterpret_cast<const unsigned char*>(bytes.data());
  const unsigned char* const end = cursor + bytes.size();
  for (const Known<T>& known : values) {
    WithValue(known.name, [&] {
      T found;
      found.deserialize(cursor, end);
      Require(AreSame(found, known.value), "is another value");
    });
  }
  Require(cursor == end, "goes on behind its last value");
}

/// The file that holds what values() gives, which may fail as well.
template <typename Values>
ExchangedFile FileOf(const std::string& name, Values values) {
  return {name, [=] { Write(name, values()); }, [=] { Read(name, values()); }};
}

template <template <typename> typename Form>
std::vector<Known<Form<long>>> KnownLongs() {
  return {{"zero", {{0}}},
          {"smallest", {{-2147483647L - 1}}},
          {"least negative", {{-1}}},
          {"every byte another", {{0x01020304}}},
          {"largest", {{2147483647L}}}};
}

template <template <typename> typename Form>
std::vector<Known<Form<unsigned long>>> KnownUnsignedLongs() {
  return {{"zero", {{0}}},
          {"every byte another", {{0xFEDCBA98UL}}},
          {"high bit", {{0x80000000UL}}},
          {"largest", {{0xFFFFFFFFUL}}}};
}

std::vector<Known<WString>> KnownWideStrings() {
  std::vector<Known<WString>> strings;
  for (const auto& [name, text] : KnownTexts())
    strings.push_back({name, WString(text.data(), text.data() + text.size())});
  return strings;
}

template <typename Narrow>
std::vector<Known<Narrow>> KnownNarrowStrings() {
  std::vector<Known<Narrow>> strings;
  for (const auto& [name, bytes] : KnownBytes())
    strings.push_back({name, Narrow(bytes.data(), bytes.data() + bytes.size())});
  return strings;
}

std::vector<Known<Utf8String>> KnownUtf8Strings() {
  std::vector<Known<Utf8String>> strings{{"five bytes", Utf8String(L"\x200000\x3FFFFFF")}};
  for (const auto& [name, text] : KnownTexts())
    strings.push_back({name, Utf8String(text.data(), text.data() + text.size())});
  for (const auto& [name, bytes] : KnownBytes()) {
    const auto* const begin = reinterpret_cast<const unsigned char*>(bytes.data());
    strings.push_back({name + " (bytes)", Utf8String(begin, begin + bytes.size())});
  }
  return strings;
}

Element Status(std::int32_t code, const WString* message = nullptr) {
  Element status(code);
  if (message != nullptr && !message->empty()) status.createMessage(message);
  return status;
}

constexpr std::array kCodes{0,
                            1,
                            -1,
                            INT32_MAX,
                            INT32_MIN,
                            static_cast<std::int32_t>(0x80004005U),
                            static_cast<std::int32_t>(0x8ABC7007U)};

std::vector<Known<Element>> KnownStatuses() {
  std::vector<Known<Element>> statuses;
  for (const std::int32_t code : kCodes)
    statuses.push_back({"code " + std::to_string(code), Status(code)});
  for (const auto& [name, message] : KnownWideStrings())
    statuses.push_back({name, Status(-1, &message)});
  return statuses;
}

/// No element, one, and all of them.
template <typename T>
std::vector<Known<Vector<T>>> KnownVectors(const std::vector<Known<T>>& elements) {
  Vector<T> one;
  one.push_back(elements.front().value);
  Vector<T> all;
  for (const Known<T>& element : elements)
    all.push_back(element.value);
  return {{"no element", {}}, {"one element", one}, {"all elements", all}};
}

/// A chain gets messages by reading them, or from another chain.
Known<StatusChain> ChainOf(const std::string& name, const Element& current,
                           const Vector<Element>& history) {
  StatusChain chain;
  WithValue(name, [&] {
    const std::string bytes = Serialized(current) + Serialized(history);
    const auto* cursor = reinterpret_cast<const unsigned char*>(bytes.data());
    chain.deserialize(cursor, cursor + bytes.size());
    Require(AreSame(chain.current(), current), "is not what it is made of");
  });
  return {name, chain};
}

std::vector<Known<StatusChain>> KnownChains() {
  StatusChain success;
  success.clear();
  std::vector<Known<StatusChain>> chains{{"not set", StatusChain()}, {"success", success}};
  for (const std::int32_t code : kCodes) {
    StatusChain chain;
    chain.set(code);
    chains.push_back({"code " + std::to_string(code), chain});
  }
  StatusChain literal;
  literal.set(static_cast<long>(0x80004005));
  literal.pushCurrent();
  literal.set(static_cast<long>(0x8ABC7034));
  chains.push_back({"codes with the high bit", literal});
  const Vector<Element> history = KnownVectors(KnownStatuses()).back().value;
  for (const auto& [name, status] : KnownStatuses()) {
    chains.push_back(ChainOf(name + " without a history", status, {}));
    chains.push_back(ChainOf(name + " with a history", status, history));
  }
  chains.push_back({"shared history", chains.back().value});
  return chains;
}

std::vector<Known<AutoBuffer>> KnownBuffers() {
  std::vector<Known<AutoBuffer>> buffers{{"without storage", AutoBuffer()}};
  for (const auto& [name, bytes] : KnownBytes())
    buffers.push_back({name, AutoBuffer(Wrapped(bytes))});
  return buffers;
}

}  // namespace

std::vector<ExchangedFile> SerializedFiles() {
  return {FileOf("longs", KnownLongs<Word>),
          FileOf("unsigned_longs", KnownUnsignedLongs<Word>),
          FileOf("longs_big_endian", KnownLongs<ReversedWord>),
          FileOf("unsigned_longs_big_endian", KnownUnsignedLongs<ReversedWord>),
          FileOf("wide_strings", KnownWideStrings),
          FileOf("narrow_strings", KnownNarrowStrings<String>),
          FileOf("counted_strings", KnownNarrowStrings<CountedString>),
          FileOf("utf8_strings", KnownUtf8Strings),
          FileOf("vectors_of_wide_strings", [] { return KnownVectors(KnownWideStrings()); }),
          FileOf("vectors_of_narrow_strings",
                 [] { return KnownVectors(KnownNarrowStrings<String>()); }),
          FileOf("vectors_of_counted_strings",
                 [] { return KnownVectors(KnownNarrowStrings<CountedString>()); }),
          FileOf("vectors_of_utf8_strings", [] { return KnownVectors(KnownUtf8Strings()); }),
          FileOf("vectors_of_statuses", [] { return KnownVectors(KnownStatuses()); }),
          FileOf("status_chains", KnownChains),
          FileOf("buffers", KnownBuffers)};
}

}  // namespace qv::tests
