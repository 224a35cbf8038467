#pragma once

namespace qv::traceengine {

/// A line of a tag file, taken apart: a name, the number of a tag and a value, as
/// sscanf(line, "%127s : %d : %127s") finds them. Unlike sscanf it does not depend on the locale,
/// and a number that does not fit an int is none.
struct TagLine {
  /// The longest token; a longer one is cut, and what was cut off is read on.
  static constexpr int kTokenLength = 127;

  /// Takes line apart.
  explicit TagLine(const char* line) noexcept;

  /// How many of the three were found, 0 to 3. Those that were not are empty or 0.
  int fields = 0;
  char name[kTokenLength + 1] = {};
  int id = 0;
  char value[kTokenLength + 1] = {};
};

}  // namespace qv::traceengine
