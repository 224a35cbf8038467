#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/reference/Utf8.h"

// What serialized bytes stand for, one byte at a time and everything by value.
namespace reference {

/// Why bytes are refused.
enum class Refusal { bytesMissing, noUtf8 };

/// Takes values from the front of bytes. Throws a Refusal where they are none.
class FormReader {
 public:
  explicit FormReader(const Bytes& bytes, std::size_t position)
      : bytes_(bytes), position_(position) {}

  std::size_t position() const { return position_; }

  std::uint32_t number() {
    std::uint32_t number = 0;
    std::uint32_t weight = 1;
    for (const unsigned char byte : take(4)) {
      number += byte * weight;
      weight *= 256;
    }
    return number;
  }

  /// A count, and as many bytes.
  Bytes counted() { return take(number()); }

  /// The same with a zero at the end that the count includes; no bytes have none.
  Bytes terminated() {
    Bytes bytes = counted();
    if (bytes.empty()) return bytes;
    if (bytes.back() != 0) throw Refusal::bytesMissing;
    bytes.pop_back();
    return bytes;
  }

  /// Counted bytes of UTF-8.
  std::vector<std::uint32_t> text() {
    const std::optional<std::vector<std::uint32_t>> values = Decode(counted());
    if (!values) throw Refusal::noUtf8;
    return *values;
  }

  /// A count, and as many elements; more than there are bytes, those of the count included, are
  /// refused unseen.
  template <typename Element, typename ReadElement>
  std::vector<Element> list(ReadElement readElement) {
    const std::size_t most = bytes_.size() - position_;
    const std::uint32_t count = number();
    if (count > most) throw Refusal::bytesMissing;
    std::vector<Element> elements;
    while (elements.size() < count) {
      Element element{};
      readElement(*this, element);
      elements.push_back(element);
    }
    return elements;
  }

 private:
  Bytes take(std::size_t count) {
    if (bytes_.size() - position_ < count) throw Refusal::bytesMissing;
    const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(position_);
    position_ += count;
    return Bytes(first, first + static_cast<std::ptrdiff_t>(count));
  }

  const Bytes& bytes_;
  std::size_t position_;
};

inline void WriteNumber(Bytes& out, std::uint32_t number) {
  for (int place = 0; place < 4; ++place) {
    out.push_back(static_cast<unsigned char>(number % 256));
    number /= 256;
  }
}

inline void WriteCounted(Bytes& out, const Bytes& bytes) {
  WriteNumber(out, static_cast<std::uint32_t>(bytes.size()));
  out.insert(out.end(), bytes.begin(), bytes.end());
}

inline void WriteTerminated(Bytes& out, Bytes bytes) {
  bytes.push_back(0);
  WriteCounted(out, bytes);
}

inline void WriteText(Bytes& out, const std::vector<std::uint32_t>& text) {
  WriteCounted(out, Encode(text));
}

/// A code and its message; empty without one, as the form does not tell the two apart.
struct Status {
  std::int32_t code = 0;
  std::vector<std::uint32_t> message;

  friend bool operator==(const Status& a, const Status& b) {
    return a.code == b.code && a.message == b.message;
  }
  friend void PrintTo(const Status& status, std::ostream* out) {
    *out << status.code;
    for (const std::uint32_t character : status.message)
      *out << " " << std::hex << character << std::dec;
  }
};

/// The code counts from when it was read, whatever becomes of the message.
inline void ReadStatus(FormReader& reader, Status& status) {
  status.code = static_cast<std::int32_t>(reader.number());
  status.message = reader.text();
}

inline void WriteStatus(Bytes& out, const Status& status) {
  WriteNumber(out, static_cast<std::uint32_t>(status.code));
  WriteText(out, status.message);
}

/// A record of up to 255 bytes, with its length in front, in a ring of that many bytes at start.
/// Bytes that do not belong to it, and one behind the end of the ring, are 0xAA.
inline Bytes RingWith(std::size_t size, std::size_t start, const std::string& text) {
  Bytes record;
  WriteCounted(record, Bytes(text.begin(), text.end()));
  Bytes ring(size + 1, 0xAA);
  for (std::size_t i = 0; i != record.size(); ++i)
    ring[(start + i) % size] = record[i];
  return ring;
}

/// The bytes of a ring in their order from start on.
inline Bytes RingFrom(const Bytes& ring, std::size_t start) {
  Bytes bytes;
  for (std::size_t i = 0; i != ring.size(); ++i)
    bytes.push_back(ring[(start + i) % ring.size()]);
  return bytes;
}

}  // namespace reference
