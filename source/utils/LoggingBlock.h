#pragma once

#include <cstdint>

#include "kit/AbsTime.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"

namespace qv::traceengine {

class LoggingBlock;

/// Owns logging blocks. The order of the virtual operations is a contract between separately built
/// libraries.
class ILoggingBlockFactory {
 public:
  /// An empty block, or null when none is free.
  virtual LoggingBlock* giveOut() = 0;
  /// Takes back a block that this factory gave out.
  virtual void takeBack(LoggingBlock* block) = 0;

 protected:
  ~ILoggingBlockFactory() = default;
};

/// What a block is used for. The meaning belongs to the engine; clients leave it as they find it.
enum BlockType : std::int32_t { kBlockType1 = 1, kBlockType2 = 2 };

/// A record on its way to the trace engine: a time and up to 512 bytes of text. Blocks belong to
/// the engine, which gives out empty ones and takes filled ones back; a client fills them.
///
/// Engine and client are built separately: the members, their order and the two entries of the
/// virtual table (destructor, deleting destructor) are the contract between them. A block belongs
/// to one thread at a time.
class LoggingBlock {
 public:
  /// How many bytes of text a block holds at most.
  static constexpr std::int32_t kPayloadSize = 512;

  /// An empty block of type 1 that belongs to factory, which may be null.
  explicit LoggingBlock(ILoggingBlockFactory* factory) noexcept : factory_(factory) {}
  LoggingBlock(const LoggingBlock&) = delete;
  LoggingBlock& operator=(const LoggingBlock&) = delete;
  virtual ~LoggingBlock() = default;

  // For the client that fills the block. The operations with a status do nothing when it already
  // holds an error.

  /// Sets the time stamp to the time of the system's clock.
  void stampCurrentTime() noexcept;
  /// How many bytes still fit: 0 to 512. A block whose count of used bytes makes no sense has no
  /// room.
  std::int32_t room() const noexcept {
    return used_ < 0 || used_ > kPayloadSize ? 0 : kPayloadSize - used_;
  }
  /// Appends length bytes. When they do not all fit, or length is negative, appends none and sets
  /// status to -1.
  void write(const char* data, std::int32_t length, kit::StatusChain& status);
  /// Appends text and a terminating null character, under the same conditions.
  void write(kit::String text, kit::StatusChain& status);
  /// Sets the type to 1 or 2; any other sets status to -1 and changes nothing. Returns the type
  /// that the block then has.
  BlockType blockType(BlockType type, kit::StatusChain& status);

  // For the engine that owns the block.

  /// Gives the block back to its factory, if it has one.
  void returnToFactory() {
    if (factory_ != nullptr) factory_->takeBack(this);
  }
  /// Makes the block an empty one again, without touching type and factory.
  void clear() noexcept { used_ = 0; }
  /// The text, kPayloadSize bytes of which used() count. Valid as long as the block.
  const char* payload() const noexcept { return payload_; }
  /// How many bytes of text there are. A client may leave any number here: check it.
  std::int32_t used() const noexcept { return used_; }
  /// When the record was made; no time at all before that.
  const kit::AbsTime& timeStamp() const noexcept { return timeStamp_; }
  /// 1 as long as no client has set another.
  BlockType blockType() const noexcept { return type_; }

 private:
  std::int32_t used_ = 0;
  [[maybe_unused]] std::int32_t enginesOwn_ = 0;  // never read or written by a client
  kit::AbsTime timeStamp_;
  BlockType type_ = kBlockType1;
  char payload_[kPayloadSize] = {};
  ILoggingBlockFactory* factory_;
};

// Only the pointers, at either end, grow with the platform.
static_assert(sizeof(void*) != 4 || sizeof(LoggingBlock) == 548);

}  // namespace qv::traceengine
