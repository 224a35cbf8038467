#include "engine/RecordLine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "source/utils/LoggingBlock.h"
#include "tests/engine/FilledBlock.h"

namespace qv::traceengine {
namespace {

std::string LineOf(const LoggingBlock& block) {
  char line[kLongestRecordLine];
  return {line, WriteRecordLine(block, line)};
}

std::string LineOf(const std::string& bytes) {
  LoggingBlock block(nullptr);
  tests::Fill(block, bytes);
  return LineOf(block);
}

std::string Expected(const std::string& text) {
  return tests::kStampText + " " + text + "\n";
}

TEST(RecordLine, IsTheTimeABlankAndTheRecord) {
  EXPECT_EQ(LineOf("t=7f | qvsslinit | In"), Expected("t=7f | qvsslinit | In"));
}

TEST(RecordLine, LeavesOutOneTerminatorAtTheEnd) {
  EXPECT_EQ(LineOf(std::string("text\0", 5)), Expected("text"));
  EXPECT_EQ(LineOf(std::string("text\0\0", 6)), Expected("text\\x00"));
  EXPECT_EQ(LineOf(std::string("a\0b", 3)), Expected("a\\x00b"));
}

TEST(RecordLine, MayBeEmpty) {
  EXPECT_EQ(LineOf(""), Expected(""));
  EXPECT_EQ(LineOf(std::string(1, '\0')), Expected(""));
}

TEST(RecordLine, StaysOneLineWhateverTheMessageHolds) {
  EXPECT_EQ(LineOf("a\nb\r\n"), Expected("a\\nb\\x0d\\n"));
  EXPECT_EQ(LineOf("\x1b[2J\t\x7f\x01"), Expected("\\x1b[2J\\x09\\x7f\\x01"));
}

TEST(RecordLine, DoublesABackslashSoThatNoTextLooksLikeALineEnd) {
  EXPECT_EQ(LineOf("a\\nb"), Expected("a\\\\nb"));
}

TEST(RecordLine, LeavesTextBeyondAsciiAloneEvenWhereARecordWasCut) {
  EXPECT_EQ(LineOf("Z\xc3\xbcrich \xe2\x82"), Expected("Z\xc3\xbcrich \xe2\x82"));
}

TEST(RecordLine, TakesARecordThatFillsItsBlockWithoutATerminator) {
  const std::string record(512, 'x');
  EXPECT_EQ(LineOf(record), Expected(record));
}

TEST(RecordLine, HasRoomForARecordOfNothingButControlCharacters) {
  std::string escaped;
  for (int i = 0; i < 512; ++i)
    escaped += "\\x02";
  EXPECT_EQ(LineOf(std::string(512, '\x02')), Expected(escaped));
}

TEST(RecordLine, BelievesNoCountOutsideTheBlock) {
  LoggingBlock block(nullptr);
  tests::Fill(block, std::string(512, 'x'));
  tests::SetUsed(block, 513);
  EXPECT_EQ(LineOf(block), Expected(std::string(512, 'x')));
  tests::SetUsed(block, INT32_MAX);
  EXPECT_EQ(LineOf(block), Expected(std::string(512, 'x')));
  tests::SetUsed(block, -1);
  EXPECT_EQ(LineOf(block), Expected(""));
}

TEST(RecordLine, TellsARecordWithoutATime) {
  EXPECT_EQ(LineOf(LoggingBlock(nullptr)), "- \n");
}

}  // namespace
}  // namespace qv::traceengine
