#include "tests/doubles/engine/EngineJournal.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "tests/doubles/engine/journal.h"

namespace qv::tests {

using Guard = std::lock_guard<std::mutex>;

EngineJournal& EngineJournal::instance() {
  // Never destroyed: engines may be unloaded after everything else.
  static auto* const journal = new EngineJournal;
  return *journal;
}

std::vector<std::string> EngineJournal::lines() const {
  const Guard guard(mutex_);
  return lines_;
}

std::size_t EngineJournal::count(const std::string& line) const {
  const Guard guard(mutex_);
  return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line));
}

std::vector<SentBlock> EngineJournal::blocks() const {
  const Guard guard(mutex_);
  return blocks_;
}

std::vector<std::string> EngineJournal::records() const {
  std::vector<std::string> records;
  for (const SentBlock& block : blocks()) {
    std::string text = block.text();
    if (!text.empty() && text.back() == '\0') text.pop_back();
    records.push_back(text);
  }
  return records;
}

void EngineJournal::clear() {
  const Guard guard(mutex_);
  lines_.clear();
  blocks_.clear();
}

void EngineJournal::reset() {
  clear();
  script = EngineScript();
}

void EngineJournal::note(const std::string& line) noexcept {
  const Guard guard(mutex_);
  try {
    lines_.push_back(line);
  } catch (const std::bad_alloc&) {
    // Lost.
  }
}

void EngineJournal::keep(const LoggingBlockLayout& block) {
  SentBlock contents{};
  contents.used = block.used;
  contents.enginesOwn = block.enginesOwn;
  std::copy(std::begin(block.timeStamp.words), std::end(block.timeStamp.words),
            contents.timeStamp.begin());
  contents.type = block.type;
  contents.payload.assign(block.payload, sizeof(block.payload));
  const Guard guard(mutex_);
  blocks_.push_back(contents);
}

}  // namespace qv::tests

using qv::tests::EngineJournal;

void QVTEST_Note(const char* line) {
  EngineJournal::instance().note(line);
}

void QVTEST_KeepBlock(const LoggingBlockLayout* block) {
  EngineJournal::instance().keep(*block);
}

bool QVTEST_HasBlocks() {
  return EngineJournal::instance().script.hasBlocks;
}

bool QVTEST_ShowTagNames() {
  return EngineJournal::instance().script.showTagNames;
}

const wchar_t* QVTEST_ConfigDirectory() {
  return EngineJournal::instance().script.configDirectory.c_str();
}
