#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kit/FixedPoint128.h"

namespace qv::tests {

/// A row of fixed_point.txt, which fixed_point.py makes and explains.
class FixedPointRow {
 public:
  explicit FixedPointRow(const std::string& line) : line_(line) {
    std::istringstream columns(line);
    std::string column;
    while (columns >> column)
      columns_.push_back(column);
  }

  const std::string& line() const { return line_; }
  const std::string& text(std::size_t column) const { return columns_.at(column); }
  int integer(std::size_t column) const { return std::stoi(text(column)); }

  template <typename FixedT>
  FixedT number(std::size_t column) const {
    const std::string digits = std::string(32 - text(column).size(), '0') + text(column);
    const auto word = [&](std::size_t position) {
      return static_cast<std::uint32_t>(std::stoul(digits.substr(position, 8), nullptr, 16));
    };
    return FixedT(word(0), word(8), word(16), word(24));
  }

 private:
  std::string line_;
  std::vector<std::string> columns_;
};

/// All rows of that name. No row at all is a failure.
inline std::vector<FixedPointRow> FixedPointRows(const std::string& name) {
  std::ifstream table(QV_REFERENCE_DIRECTORY "/fixed_point.txt");
  std::vector<FixedPointRow> rows;
  std::string line;
  while (std::getline(table, line)) {
    FixedPointRow row(line);
    if (row.text(0) == name) rows.push_back(row);
  }
  EXPECT_FALSE(rows.empty()) << "no row " << name;
  return rows;
}

}  // namespace qv::tests

namespace nQVSS100 {

/// How test messages show a number.
template <int kFractionBits, bool kSigned>
void PrintTo(const tFixedPoint128<kFractionBits, kSigned>& number, std::ostream* out) {
  const std::uint64_t halves[] = {static_cast<std::uint64_t>(number.integer()), number.fraction()};
  *out << std::hex << "0x" << halves[0] << " and 0x" << halves[1] << " / 2^64" << std::dec;
}

}  // namespace nQVSS100
