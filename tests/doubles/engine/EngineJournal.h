#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "abi/layout.h"

namespace qv::tests {

/// What the trace engine double is told to do. Set it before the engine is loaded or used.
struct EngineScript {
  enum class Entry {
    Good,
    /// Null, and a status that calls it success.
    Nothing,
    /// Gives an object and does not touch the status.
    LeavesStatus,
    /// Success, but the object has another interface.
    OtherInterface,
  };

  Entry entry = Entry::Good;
  std::int32_t entryCode = 0;
  /// The operation, by name, that throws something the engine alone knows.
  std::string throwsIn;
  /// The operation, by name, that is a point of cancellation and spoils errno.
  std::string interruptedIn;
  std::wstring configDirectory;
  bool showTagNames = true;
  /// Whether getConfigDirectory leaves the string as it is.
  bool hasDirectory = true;
  /// Called at the entry point, before anything else.
  void (*onEntry)() = nullptr;
  bool hasBlocks = true;
  /// How much of the blocks that it gives out is in use already.
  std::int32_t used = 0;
};

/// A block as the engine got it back: its fields where an engine expects them.
struct SentBlock {
  std::int32_t used;
  std::int32_t enginesOwn;
  std::array<std::uint32_t, 4> timeStamp;
  std::int32_t type;
  std::string payload;

  /// As many bytes of the payload as are in use.
  std::string text() const { return payload.substr(0, static_cast<std::size_t>(used)); }
};

/// What becomes of the trace engine double: every call, and every block that it gets. Lives in a
/// library of its own, which stays in memory while the engine comes and goes. Any thread may call.
class __attribute__((visibility("default"))) EngineJournal {
 public:
  static EngineJournal& instance();

  EngineScript script;

  /// In order; "unloaded" stands for the end of the library, "forgotten" for that of an exception
  /// that it threw.
  std::vector<std::string> lines() const;
  /// How often this line was written.
  std::size_t count(const std::string& line) const;
  std::vector<SentBlock> blocks() const;
  /// The records, without the terminators that they were written with.
  std::vector<std::string> records() const;
  void clear();
  /// As if the process had just begun.
  void reset();

  // For the engine.
  /// Never throws: a line for which there is no memory is lost.
  void note(const std::string& line) noexcept;
  void keep(const LoggingBlockLayout& block);

  /// What the blocks of the engine hold where clients have no business.
  static constexpr std::int32_t kEnginesOwn = 0x5A5A5A5A;
  static constexpr std::int32_t kType = 2;

 private:
  // Short lines take no memory as long as there are not too many.
  EngineJournal() { lines_.reserve(4096); }

  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  std::vector<SentBlock> blocks_;
};

}  // namespace qv::tests
