#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "kit/AutoBuffer.h"
#include "kit/exception/OutOfRange.h"
#include "tests/reference/SharedBytesReference.h"

// Byte buffers: the input is a program of changes to a few of them, which share their storage, or
// come to own it, as those of the reference do.

namespace {

using qv::fuzz::Input;
using qv::kit::AutoBuffer;
using qv::kit::BufferWrapper;
using qv::kit::exception::OutOfRange;
using qv::tests::SharedBytesReference;
using Bytes = std::vector<unsigned char>;

class Program {
 public:
  explicit Program(Input& input) : input_(input) {}

  void run() {
    for (int step = 0; step < kMostSteps && !input_.empty(); ++step) {
      const std::uint32_t chosen = input_.below(std::size(kSteps));
      SCOPED_TRACE("step " + std::to_string(step) + ", kind " + std::to_string(chosen));
      subject_ = input_.below(kBuffers);
      (this->*kSteps[chosen])();
      expectTheSame();
    }
  }

 private:
  static constexpr std::uint32_t kBuffers = 4;
  static constexpr int kMostSteps = 100;
  /// Enough for slack of a tenth to be more than the least one.
  static constexpr std::uint32_t kMuch = 1500;
  static constexpr std::uint32_t kMost = 0xFFFFFFFFU;

  AutoBuffer& buffer() { return buffers_[subject_]; }
  SharedBytesReference& expected() { return expected_[subject_]; }

  /// A few bytes, or now and then many, but none for a buffer that has very many.
  Bytes anyBytes() {
    if (expected().length() > 2 * kMuch) return {};
    const std::uint32_t kind = input_.below(64);
    const std::uint32_t length = kind == 63 ? input_.below(kMuch) : kind % 9;
    Bytes bytes(length);
    std::generate(bytes.begin(), bytes.end(), [&] { return input_.byte(); });
    return bytes;
  }

  std::uint32_t anyOffset() { return input_.below(16) == 15 ? input_.below(kMuch) : input_.byte(); }

  void expectTheSame() const {
    for (std::uint32_t i = 0; i != kBuffers; ++i) {
      SCOPED_TRACE("buffer " + std::to_string(i));
      const AutoBuffer& found = buffers_[i];
      ASSERT_EQ(found.Len(), expected_[i].length());
      ASSERT_EQ(found.Capacity(), expected_[i].capacity());
      ASSERT_EQ(found.Data() == nullptr, expected_[i].capacity() == 0);
      expectBytes(found, expected_[i]);
      for (std::uint32_t j = 0; j != i; ++j) {
        const bool isShared = found.Data() != nullptr && found.Data() == buffers_[j].Data();
        EXPECT_EQ(isShared, found.Capacity() != 0 && expected_[i].sharesWith(expected_[j]));
      }
    }
  }

  static void expectBytes(const AutoBuffer& found, const SharedBytesReference& expected) {
    for (std::size_t place = 0; place < expected.length(); ++place) {
      if (!expected[place] || found.Data()[place] == *expected[place]) continue;
      FAIL() << "byte " << place << " is " << unsigned{found.Data()[place]} << " instead of "
             << unsigned{*expected[place]};
    }
  }

  void append() {
    const Bytes bytes = anyBytes();
    buffer().Append(bytes.data(), bytes.size());
    expected().append(SharedBytesReference::Known(bytes));
  }
  void appendReversed() {
    const Bytes bytes = anyBytes();
    buffer().appendReverseByteOrder(bytes.data(), bytes.size());
    expected().appendReversed(SharedBytesReference::Known(bytes));
  }
  void appendOfItself() {
    if (expected().length() > 2 * kMuch) return;
    const SharedBytesReference::Bytes all = expected().bytes();
    const std::uint32_t from = input_.below(buffer().Len() + 1);
    const std::uint32_t length = input_.below(buffer().Len() - from + 1);
    const auto first = all.begin() + from;
    const SharedBytesReference::Bytes part(first, first + length);
    if (input_.flip()) {
      buffer().Append(buffer().Data() + from, length);
      expected().append(part);
    } else {
      buffer().appendReverseByteOrder(buffer().Data() + from, length);
      expected().appendReversed(part);
    }
  }
  void modify() {
    const std::uint32_t offset = anyOffset();
    const Bytes bytes = anyBytes();
    buffer().Modify(offset, bytes.data(), bytes.size());
    expected().modify(offset, SharedBytesReference::Known(bytes));
  }
  void modifyByItself() {
    const SharedBytesReference::Bytes all = expected().bytes();
    const std::uint32_t offset = anyOffset();
    const std::uint32_t from = input_.below(buffer().Len() + 1);
    const std::uint32_t length = input_.below(buffer().Len() - from + 1);
    const auto first = all.begin() + from;
    buffer().Modify(offset, buffer().Data() + from, length);
    expected().modify(offset, SharedBytesReference::Bytes(first, first + length));
  }
  void skip() {
    const std::uint32_t count = expected().length() > 2 * kMuch ? 0 : anyOffset();
    buffer().Skip(count);
    expected().skip(count);
  }
  void skipAndWrite() {
    const Bytes bytes = anyBytes();
    const std::uint32_t place = buffer().Len();
    buffer().Skip(bytes.size());
    expected().skip(bytes.size());
    if (bytes.empty()) return;
    std::copy(bytes.begin(), bytes.end(), buffer().Data() + place);
    expected().put(place, SharedBytesReference::Known(bytes));
  }
  void unAppend() {
    const std::uint32_t count = anyOffset();
    EXPECT_EQ(buffer().UnAppend(count), count);
    expected().unAppend(count);
  }
  void reserve() {
    const std::uint32_t capacity = anyOffset();
    buffer().Reserve(capacity);
    expected().reserve(capacity);
  }
  void erase() {
    buffer().Erase();
    expected().erase();
  }
  void free() {
    buffer().Free();
    expected().free();
  }
  void share() {
    const std::uint32_t other = input_.below(kBuffers);
    buffer() = buffers_[other];
    expected() = expected_[other];
  }
  void copyAndDrop() {
    const AutoBuffer copy(buffer());
    const SharedBytesReference expectedCopy(expected());
    append();
    ASSERT_EQ(copy.Len(), expectedCopy.length());
    expectBytes(copy, expectedCopy);
  }
  void construct() {
    const std::uint32_t capacity = anyOffset();
    buffer() = AutoBuffer(capacity);
    expected() = SharedBytesReference(capacity);
  }
  void wrap() {
    const Bytes bytes = anyBytes();
    buffer() = BufferWrapper(bytes.data(), bytes.size());
    expected() = SharedBytesReference();
    expected().append(SharedBytesReference::Known(bytes));
  }
  void deserialize() {
    Bytes form = anyBytes();
    const SharedBytesReference::Bytes bytes = SharedBytesReference::Known(form);
    const auto length = static_cast<std::uint32_t>(form.size());
    for (const int shift : {24, 16, 8, 0})
      form.insert(form.begin(), static_cast<unsigned char>(length >> static_cast<unsigned>(shift)));
    const unsigned char* cursor = form.data();
    if (input_.flip()) {
      buffer().deserialize(cursor, form.data() + form.size());
    } else {
      buffer().circularDeserialize(form.data(), form.data() + form.size(), cursor);
    }
    expected().replaceBy(bytes);
  }
  void refuse() {
    const std::uint32_t length = buffer().Len();
    if (length == 0) return;
    EXPECT_THROW(buffer().Append("", kMost - length + 1), OutOfRange);
    EXPECT_THROW(buffer().appendReverseByteOrder("", kMost), OutOfRange);
    EXPECT_THROW(buffer().Skip(kMost), OutOfRange);
    EXPECT_THROW(buffer().Modify(kMost - length + 1, "", length), OutOfRange);
  }
  void compare() {
    const std::uint32_t other = input_.below(kBuffers);
    const SharedBytesReference::Bytes a = expected().bytes();
    const SharedBytesReference::Bytes b = expected_[other].bytes();
    const auto isUnknown = [](const SharedBytesReference::Byte& byte) { return !byte; };
    if (std::any_of(a.begin(), a.end(), isUnknown)) return;
    if (std::any_of(b.begin(), b.end(), isUnknown)) return;
    EXPECT_EQ(buffer() == buffers_[other], a == b);
    EXPECT_EQ(buffer() < buffers_[other], a < b);
  }

  using Step = void (Program::*)();
  static constexpr Step kSteps[] = {
      &Program::append,      &Program::appendReversed, &Program::appendOfItself, &Program::modify,
      &Program::skip,        &Program::modifyByItself, &Program::skipAndWrite,   &Program::unAppend,
      &Program::reserve,     &Program::erase,          &Program::free,           &Program::share,
      &Program::share,       &Program::copyAndDrop,    &Program::construct,      &Program::wrap,
      &Program::deserialize, &Program::refuse,         &Program::compare,
  };

  Input& input_;
  std::uint32_t subject_ = 0;
  AutoBuffer buffers_[kBuffers];
  SharedBytesReference expected_[kBuffers];
};

}  // namespace

extern "C" int QV_FUZZER(auto_buffer)(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  Program(input).run();
  return 0;
}
