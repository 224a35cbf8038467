#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/OutputFile.h"

namespace qv::traceengine {

/// Lines on their way to a file, as many in one write as it takes in one piece.
class LineBatch {
 public:
  // Nobody reads what lines_ holds before there are lines.
  // cppcheck-suppress uninitMemberVar
  /// file must outlive the batch.
  explicit LineBatch(OutputFile& file) noexcept : file_(file) {}
  LineBatch(const LineBatch&) = delete;
  LineBatch& operator=(const LineBatch&) = delete;
  ~LineBatch() = default;

  /// Adds a line of at most kMostAtOnce bytes, its end included.
  void add(const char* line, std::size_t size) noexcept;
  /// Writes what has been added.
  void write() noexcept;
  /// How many lines did not get into the file since the last call. They are gone.
  std::uint64_t takeDropped() noexcept;

 private:
  OutputFile& file_;
  std::uint64_t dropped_ = 0;
  std::size_t size_ = 0;
  char lines_[OutputFile::kMostAtOnce];
};

}  // namespace qv::traceengine
