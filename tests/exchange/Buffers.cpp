#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "kit/AutoBuffer.h"
#include "kit/StringBase.h"
#include "kit/osdep/BinaryFile.h"
#include "tests/exchange/ExchangedFile.h"
#include "tests/exchange/KnownValues.h"

namespace qv::tests {
namespace {

using kit::AutoBuffer;
using kit::WString;
using kit::osdep::BinaryFile;
using Endianness = BinaryFile::Endianness;
using Mode = BinaryFile::Mode;

void RequireBytes(const AutoBuffer& found, const std::string& known) {
  Require(found == AutoBuffer(Wrapped(known)), "is another value");
}

/// A record in a ring of size bytes, from start on.
struct RingRecord {
  std::string name;
  std::uint32_t size;
  std::uint32_t start;
  std::string bytes;

  std::uint32_t end() const {
    return (start + 4 + static_cast<std::uint32_t>(bytes.size())) % size;
  }
};

std::vector<RingRecord> KnownRings() {
  return {{"from the beginning", 32, 0, "whole"},
          {"wraps in the bytes", 16, 8, "wraps!"},
          {"wraps behind the length", 16, 12, "wraps!"},
          {"wraps behind three bytes of the length", 16, 13, "wraps!"},
          {"wraps behind two bytes of the length", 16, 14, "wraps!"},
          {"wraps behind one byte of the length", 16, 15, "wraps!"},
          {"starts at the end", 16, 16, "starts"},
          {"ends at the end", 16, 6, "stands"},
          {"fills the ring", 12, 5, "complete"},
          {"empty", 4, 2, ""},
          {"long", 70016, 69000, LongText<char>()}};
}

std::string RingOf(const RingRecord& record) {
  std::string ring(record.size, '\xEE');
  auto* const begin = reinterpret_cast<unsigned char*>(ring.data());
  unsigned char* cursor = begin + record.start;
  AutoBuffer(Wrapped(record.bytes)).circularSerialize(begin, begin + ring.size(), cursor);
  Require(cursor == begin + record.end(), "ends in another place");
  return ring;
}

void WriteRings(const std::string& name) {
  std::ofstream file(name, std::ios::binary);
  for (const RingRecord& record : KnownRings())
    WithValue(record.name, [&] { file << RingOf(record); });
  file.close();
  Require(!file.fail(), "cannot be written");
}

void RequireRecord(const unsigned char* begin, const RingRecord& record) {
  const unsigned char* cursor = begin + record.start;
  AutoBuffer found;
  found.circularDeserialize(begin, begin + record.size, cursor);
  RequireBytes(found, record.bytes);
  Require(cursor == begin + record.end(), "ends in another place");
}

void ReadRings(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  Require(file.is_open(), "is missing");
  for (const RingRecord& record : KnownRings()) {
    WithValue(record.name, [&] {
      std::string ring(record.size, '\0');
      Require(!file.read(ring.data(), static_cast<std::streamsize>(ring.size())).fail(),
              "is cut off");
      RequireRecord(reinterpret_cast<const unsigned char*>(ring.data()), record);
    });
  }
  Require(file.get() == std::ifstream::traits_type::eof(), "goes on behind its last value");
}

void WriteByteVectors(const std::string& name, Endianness endianness) {
  BinaryFile file(WString(name.c_str()), Mode::Write | Mode::Create | Mode::Truncate, false);
  for (const auto& [valueName, bytes] : KnownBytes()) {
    const auto expected = static_cast<std::int32_t>(bytes.size() + 4);
    const std::int32_t written = file.writeByteVector(Wrapped(bytes), endianness);
    WithValue(valueName, [&] { Require(written == expected, "cannot be written"); });
  }
}

void ReadByteVectors(const std::string& name, Endianness endianness) {
  BinaryFile file(WString(name.c_str()), Mode::Read, false);
  AutoBuffer found;
  for (const auto& [valueName, bytes] : KnownBytes()) {
    const std::string& known = bytes;
    WithValue(valueName, [&] {
      const auto expected = static_cast<std::int32_t>(known.size() + 4);
      Require(file.readByteVector(found, endianness) == expected, "is cut off");
      RequireBytes(found, known);
    });
  }
  char more = 0;
  Require(file.read(&more, 1) == 0, "goes on behind its last value");
}

ExchangedFile ByteVectors(const std::string& name, Endianness endianness) {
  return {name, [=] { WriteByteVectors(name, endianness); },
          [=] { ReadByteVectors(name, endianness); }};
}

}  // namespace

std::vector<ExchangedFile> RingFiles() {
  const std::string name = "rings";
  return {{name, [=] { WriteRings(name); }, [=] { ReadRings(name); }}};
}

std::vector<ExchangedFile> ByteVectorFiles() {
  return {ByteVectors("byte_vectors_little_endian", Endianness::LittleEndian),
          ByteVectors("byte_vectors_big_endian", Endianness::BigEndian)};
}

}  // namespace qv::tests
