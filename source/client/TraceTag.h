#pragma once

namespace qv::traceengine {

/// A named switch: whether the records under one tag id are produced. The destructor is the only
/// virtual operation. One thread at a time may change a tag.
class TraceTag {
 public:
  /// How many bytes a name takes at most, terminator included.
  static constexpr int kNameSize = 128;

  /// Without a name, id 0, off.
  TraceTag() = default;
  TraceTag(const TraceTag&) = default;
  TraceTag& operator=(const TraceTag&) = default;
  virtual ~TraceTag();

  /// Stores id and enabled, whatever becomes of the name. Without a name (null) the former one
  /// stays and the result is -1. A name of more than 127 characters is dropped: the former one
  /// stays and the result is 0, as on success.
  int Initialize(const char* name, int id, bool enabled);

  const char* name() const noexcept { return name_; }
  int id() const noexcept { return id_; }
  bool enabled() const noexcept { return enabled_; }

 private:
  char name_[kNameSize] = {};
  int id_ = 0;
  bool enabled_ = false;
};

}  // namespace qv::traceengine
