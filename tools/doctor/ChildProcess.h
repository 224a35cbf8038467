#pragma once

#include <string>
#include <vector>

#include "tools/common/Fact.h"

namespace qv::tools::doctor {

/// The key of the message that a child sends when its job is done. Code of others can end a process
/// in good order long before that.
inline constexpr char kDone[] = "done";

/// What became of a child of this program.
struct ChildResult {
  enum class End { Exited, Killed, TimedOut, Flooded };

  /// The last message with this key, or null.
  const Fact* find(const char* key) const;
  /// What the last message with this key holds there; empty, or false, when that is nothing or
  /// something else. Code of others shares the child's process and may send what it likes.
  std::string text(const char* key) const;
  bool isTrue(const char* key) const;
  /// Whether the child did its job and then came to its end with status 0.
  bool endedWell() const { return end == End::Exited && code == 0 && find(kDone) != nullptr; }
  /// How it ended, for people: "was ended by signal 11 (Segmentation fault)".
  std::string endText() const;

  End end = End::Exited;
  /// Exit status or signal.
  int code = 0;
  /// The time that it was given.
  int timeLimit = 0;
  /// What it reported, in order, whole messages only.
  std::vector<Fact> messages;
  /// What was printed, on either stream; a flood of it is cut.
  std::string output;
  bool isOutputCut = false;
  /// The same in lines that can stand on the page, with a last one that says where it was cut.
  std::vector<std::string> printedLines() const;
};

/// The text that message holds under key; empty when that is nothing or something else.
std::string TextIn(const Fact& message, const char* key);

/// So much of what a child prints is kept, where nothing else is asked for.
inline constexpr std::size_t kMostOutput = 16384;

/// Runs this program again, to do one job where code of others may crash, hang or print without
/// harm to the doctor, and waits for its end, timeLimit seconds at most; then it is killed, as it
/// is when it reports more than the doctor can hold. Processes that it has started end with it.
/// Throws std::runtime_error when the system gives no process.
ChildResult RunChild(const std::vector<std::string>& job, int timeLimit,
                     std::size_t mostOutput = kMostOutput);

/// The option that asks for a job.
inline constexpr char kChildOption[] = "--child";

/// In the child: sends a message to the doctor. Any thread may call.
void Report(const Fact& message);

}  // namespace qv::tools::doctor
