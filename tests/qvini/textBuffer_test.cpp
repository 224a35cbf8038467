#include "qvini/textBuffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

class TextBuffer : public testing::Test {
 protected:
  TextBuffer() { EXPECT_EQ(qvini_InitTextBuffer(&buffer_), 1); }
  ~TextBuffer() override { std::free(buffer_.bytes); }

  std::string text() const { return std::string(buffer_.bytes, buffer_.length); }

  qvini_TextBuffer buffer_;
};

TEST_F(TextBuffer, BeginsWithTwoHundredAndFiftySixBytes) {
  EXPECT_EQ(buffer_.size, 256U);
  EXPECT_EQ(buffer_.length, 0U);
}

TEST_F(TextBuffer, DoublesUntilTextAndANulFit) {
  const std::string text255(255, 'a');
  EXPECT_EQ(qvini_AddText(&buffer_, qvini_Whole(text255.c_str())), 1);
  EXPECT_EQ(buffer_.size, 256U);
  EXPECT_EQ(qvini_AddText(&buffer_, qvini_Whole("b")), 1);
  EXPECT_EQ(buffer_.size, 512U);
  EXPECT_EQ(text(), text255 + "b");
  EXPECT_EQ(qvini_AddText(&buffer_, qvini_Whole(std::string(5000, 'c').c_str())), 1);
  EXPECT_EQ(buffer_.size, 8192U);
  EXPECT_EQ(text(), text255 + "b" + std::string(5000, 'c'));
}

TEST_F(TextBuffer, TakesNothing) {
  EXPECT_EQ(qvini_AddText(&buffer_, qvini_Whole(nullptr)), 1);
  EXPECT_EQ(text(), "");
}

}  // namespace
