#include "kit/StatusChain.h"

#include <gtest/gtest.h>

#include <cstring>

#include "kit/exception/OutOfRange.h"
#include "tests/RepeatedText.h"

namespace {

using namespace qv::kit;

/// A chain that is nothing but a message, of two letters.
StatusChain ChainWithAMessage() {
  const unsigned char bytes[] = {0, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 0, 0, 0, 0};
  const unsigned char* cursor = bytes;
  StatusChain chain;
  chain.deserialize(cursor, bytes + sizeof(bytes));
  return chain;
}

/// Lends text to the message of a chain, by the three pointers that are the layout of every string.
class LentText {
 public:
  LentText(const StatusChain& chain, const RepeatedText<wchar_t>& text)
      : string_(const_cast<WString*>(chain.current().message())) {
    const wchar_t* const pointers[] = {text.begin(), text.end(), text.end()};
    static_assert(sizeof(pointers) == sizeof(WString));
    std::memcpy(own_, static_cast<void*>(string_), sizeof(own_));
    std::memcpy(static_cast<void*>(string_), pointers, sizeof(pointers));
  }
  LentText(const LentText&) = delete;
  LentText& operator=(const LentText&) = delete;
  ~LentText() { std::memcpy(static_cast<void*>(string_), own_, sizeof(own_)); }

 private:
  WString* string_;
  unsigned char own_[sizeof(WString)];
};

TEST(StatusChainSerializationSize, IsOutOfRangeWhenTheWholeNeedsMoreThan32Bits) {
  const StatusChain chain = ChainWithAMessage();
  // Of six bytes each: with code and count, two bytes less than 4 GiB. The four bytes that say that
  // there is no history are too much.
  const RepeatedText<wchar_t> text(715827881, 0x7FFFFFFF);
  const LentText lent(chain, text);
  EXPECT_THROW(chain.serializationSize(), exception::OutOfRange);
}

}  // namespace
