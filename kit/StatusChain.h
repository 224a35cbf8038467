#pragma once

#include <cstdint>

#include "kit/DLLObject.h"
#include "kit/StringBase.h"
#include "kit/Vector.h"

namespace qv::kit {

/// The status of an operation: a code, an optional message and an optional history of earlier
/// statuses. Callers test only whether the code is negative:
///
///     0           success
///     positive    success with a warning
///     negative    error; so is 0x80004005, the code that a new chain has before it is set
///
/// Message and history exist only while they are needed, in memory that another module may give
/// back. A chain belongs to one thread at a time, and so does a history with all chains that share
/// it. Operations that allocate throw std::bad_alloc.
class StatusChain {
 public:
  /// The code of a chain that nobody has set yet.
  static constexpr auto kNotSet = static_cast<std::int32_t>(0x80004005U);

  /// One status: a code and an optional message.
  class Element {
   public:
    /// Code 0, no message.
    Element() noexcept = default;
    /// No message.
    explicit Element(std::int32_t code) noexcept : code_(code) {}
    /// @{
    /// The same as copy().
    Element(const Element& other) { copy(other); }
    Element& operator=(const Element& other) {
      if (this != &other) copy(other);
      return *this;
    }
    /// @}
    ~Element() = default;

    /// Negative for an error.
    std::int32_t code() const noexcept { return code_; }
    /// The message stays.
    void setCode(std::int32_t code) noexcept { code_ = code; }

    /// Null without a message. The element keeps it.
    const WString* message() const noexcept { return message_.get(); }

    /// Without one from here on.
    void clearMessage() noexcept { message_.reset(); }

    /// A copy of message, or an empty one for null. For an element without a message.
    void createMessage(const WString* message);

    /// Takes over code and message, or nothing when there is no memory for the message.
    void copy(const Element& other);

    /// Bytes that serialize() writes. Throws OutOfRange when they need more than 32 bits.
    std::uint32_t serializationSize() const;

    /// Writes at cursor and advances it; end is one past the last usable byte. Throws
    /// BufferOverflow when there is no room. cursor stays then, though bytes may have been written.
    void serialize(unsigned char*& cursor, const unsigned char* end) const;

    /// Reads what serialize() wrote and advances cursor. An empty message is none. Throws
    /// DeserializationError when bytes are missing and InvalidSequence when the message is not
    /// UTF-8; cursor and message stay then, but the code may be new.
    void deserialize(const unsigned char*& cursor, const unsigned char* end);

   private:
    std::int32_t code_ = 0;
    DLLPointer<WString> message_;
  };

  /// Not set yet.
  StatusChain() noexcept : current_(kNotSet) {}
  /// @{
  /// The same as copy().
  StatusChain(const StatusChain& other) : StatusChain() { copy(other); }
  StatusChain& operator=(const StatusChain& other) {
    if (this != &other) copy(other);
    return *this;
  }
  /// @}
  ~StatusChain() { cleanupHistory(); }

  /// Negative for an error; kNotSet, which is negative too, before it is set.
  std::int32_t code() const noexcept { return current_.code(); }
  /// The status without its history. Valid as long as the chain.
  const Element& current() const noexcept { return current_; }

  /// Earlier statuses, oldest first; null without any. Valid until a chain that shares them changes
  /// them.
  const Vector<Element>* history() const noexcept;

  /// Success, without message and history.
  void clear() noexcept { startOver(0); }

  /// As new.
  void reset() noexcept { startOver(kNotSet); }

  /// Stores code, whatever was there, and drops the message; the history stays. Codes that are
  /// written as unsigned 32-bit values are taken as the negative values that they stand for. Throws
  /// OutOfRange, with nothing changed, when a long needs more than 32 bits.
  void set(long code);

  /// Where set() could keep the previous status. It does not: set() never adds to the history.
  void pushCurrentIfNeeded() noexcept;

  /// Appends a copy of the current status to the history.
  void pushCurrent();

  /// An empty history of its own, where the chain has none.
  void createHistoryIfNeeded();

  /// Lets go of the history; chains that share it keep it. Inlined up to there: most chains never
  /// have one.
  void cleanupHistory() noexcept {
    if (history_ != nullptr) releaseHistory();
  }

  /// Takes over code and message, and shares the history: what either chain adds to it, both have.
  /// When there is no memory for the message nothing changes; so it is with assignment and merge().
  void copy(const StatusChain& other);

  /// Keeps the status that matters more, which is copied if it is the other one: any status against
  /// one that was never set, the later error, an error against success or warning, the later
  /// warning. Of equal codes this chain's status stays.
  void merge(const StatusChain& other);

  /// Bytes that serialize() writes. A history of more than 32 bits counts as far as they reach;
  /// throws OutOfRange when the whole needs more.
  std::uint32_t serializationSize() const;

  /// Writes at cursor and advances it; end is one past the last usable byte. Throws BufferOverflow
  /// when there is no room. cursor stays then, though bytes may have been written.
  void serialize(unsigned char*& cursor, const unsigned char* end) const;

  /// Reads what serialize() wrote, advances cursor and returns it. A shared history changes for all
  /// that share it. Throws DeserializationError when bytes are missing and InvalidSequence when a
  /// message is not UTF-8; cursor stays then, and the history, but code and message may be new.
  const unsigned char* deserialize(const unsigned char*& cursor, const unsigned char* end);

 private:
  struct History;

  void startOver(std::int32_t code) noexcept {
    cleanupHistory();
    current_.setCode(code);
    current_.clearMessage();
  }

  void releaseHistory() noexcept;

  template <typename Change>
  void changeHistory(Change change);

  Element current_;
  History* history_ = nullptr;
};

// The code and the length of the message.
template <>
inline constexpr std::uint32_t kLeastSerializationSize<StatusChain::Element> = 8;

// Other modules rely on the layout: the code, a pointer to the message and one to the history,
// which begins with its vector.
static_assert(sizeof(StatusChain::Element) == 2 * sizeof(void*));
static_assert(sizeof(StatusChain) == 3 * sizeof(void*));

}  // namespace qv::kit
