#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "tests/doubles/RecordingTraceLogger.h"

namespace qv::tests {

/// Collects trace records as long as it lives. Give it the sink setter of the module to listen to;
/// by default that is this program.
class TraceRecords {
 public:
  using SetSink = void (*)(QvTestTraceSink, void*);

  explicit TraceRecords(SetSink setSink = &QVTEST_SetTraceSink) : setSink_(setSink) {
    setSink_(&TraceRecords::take, this);
  }
  ~TraceRecords() { setSink_(nullptr, nullptr); }
  TraceRecords(const TraceRecords&) = delete;
  TraceRecords& operator=(const TraceRecords&) = delete;

  /// Everything so far, in order.
  std::vector<std::string> all() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return records_;
  }

  /// What was recorded under origin: a tag id, or "ERROR".
  std::vector<std::string> under(const std::string& origin) const {
    std::vector<std::string> found;
    for (const std::string& record : all()) {
      if (record.rfind(origin + " | ", 0) == 0) found.push_back(record);
    }
    return found;
  }

  void clear() {
    const std::lock_guard<std::mutex> guard(mutex_);
    records_.clear();
  }

 private:
  static void take(const char* record, void* context) {
    auto* self = static_cast<TraceRecords*>(context);
    const std::lock_guard<std::mutex> guard(self->mutex_);
    self->records_.emplace_back(record);
  }

  SetSink setSink_;
  mutable std::mutex mutex_;
  std::vector<std::string> records_;
};

}  // namespace qv::tests
