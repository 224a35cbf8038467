#include "kit/StatusChain.h"

#include <atomic>
#include <cstddef>
#include <utility>

#include "kit/NumericCast.h"
#include "kit/SafeInteger.h"
#include "kit/little_endian.h"

namespace qv::kit {

namespace {

constexpr std::uint32_t kFieldBytes = 4;

/// Whether a count of 0 stands at position, which is then moved past it.
bool SkipZero(const unsigned char*& position, const unsigned char* end) {
  const unsigned char* behind = position;
  std::uint32_t count = 0;
  little_endian::DeserializeRaw<std::uint32_t>(count, behind, end);
  if (count != 0) return false;
  position = behind;
  return true;
}

std::uint32_t Sum(std::uint32_t a, std::uint32_t b) {
  return SafeInteger<unsigned long>::Add(a, b).value();
}

}  // namespace

void StatusChain::Element::createMessage(const WString* message) {
  message_ = message == nullptr ? MakeDLLObject<WString>() : MakeDLLObject<WString>(*message);
}

void StatusChain::Element::copy(const Element& other) {
  if (other.message_ == nullptr) {
    clearMessage();
  } else if (message_ == nullptr) {
    createMessage(other.message_.get());
  } else {
    *message_ = *other.message_;
  }
  // Last, so that nothing has changed when there is no memory for the message.
  code_ = other.code_;
}

std::uint32_t StatusChain::Element::serializationSize() const {
  return Sum(kFieldBytes, message_ == nullptr ? kFieldBytes : message_->serializationSize());
}

void StatusChain::Element::serialize(unsigned char*& cursor, const unsigned char* end) const {
  unsigned char* position = cursor;
  little_endian::SerializeRaw<long>(code_, position, end);
  if (message_ == nullptr) {
    little_endian::SerializeRaw<std::uint32_t>(0, position, end);
  } else {
    message_->serialize(position, end);
  }
  cursor = position;
}

void StatusChain::Element::deserialize(const unsigned char*& cursor, const unsigned char* end) {
  const unsigned char* position = cursor;
  little_endian::DeserializeRaw<std::int32_t>(code_, position, end);
  if (SkipZero(position, end)) {
    clearMessage();
  } else if (message_ != nullptr) {
    message_->deserialize(position, end);
  } else {
    DLLPointer<WString> message = MakeDLLObject<WString>();
    message->deserialize(position, end);
    message_ = std::move(message);
  }
  cursor = position;
}

/// Earlier statuses and how many chains share them. The count is atomic so that chains on different
/// threads can let go of one history; its elements belong to one thread at a time.
struct StatusChain::History {
  Vector<Element> elements;
  std::atomic<std::uint32_t> references{1};
};

const Vector<StatusChain::Element>* StatusChain::history() const noexcept {
  static_assert(offsetof(History, elements) == 0,
                "other modules take the pointer for one to the vector");
  return history_ == nullptr ? nullptr : &history_->elements;
}

void StatusChain::set(long code) {
  const std::int32_t stored =
      code < 0 ? LongToInt32(code)
               : static_cast<std::int32_t>(SafeInteger<unsigned long>(code).value());
  pushCurrentIfNeeded();
  current_.setCode(stored);
  current_.clearMessage();
}

void StatusChain::pushCurrentIfNeeded() noexcept {}

void StatusChain::pushCurrent() {
  changeHistory([this](Vector<Element>& elements) { elements.push_back(current_); });
}

void StatusChain::createHistoryIfNeeded() {
  if (history_ == nullptr) history_ = MakeDLLObject<History>().release();
}

void StatusChain::releaseHistory() noexcept {
  History* const history = std::exchange(history_, nullptr);
  if (history->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    DLLDeleter<History>()(history);
  }
}

void StatusChain::copy(const StatusChain& other) {
  current_.copy(other.current_);
  if (history_ == other.history_) return;
  cleanupHistory();
  history_ = other.history_;
  if (history_ != nullptr) history_->references.fetch_add(1, std::memory_order_relaxed);
}

void StatusChain::merge(const StatusChain& other) {
  if (other.code() == code()) return;
  const bool isError = other.code() < 0;
  const bool isWarning = other.code() > 0;
  if (code() == kNotSet || isError || (isWarning && code() >= 0)) copy(other);
}

std::uint32_t StatusChain::serializationSize() const {
  return Sum(current_.serializationSize(),
             history_ == nullptr ? kFieldBytes : history_->elements.serializationSize());
}

void StatusChain::serialize(unsigned char*& cursor, const unsigned char* end) const {
  unsigned char* position = cursor;
  current_.serialize(position, end);
  if (history_ == nullptr) {
    little_endian::SerializeRaw<std::uint32_t>(0, position, end);
  } else {
    history_->elements.serialize(position, end);
  }
  cursor = position;
}

const unsigned char* StatusChain::deserialize(const unsigned char*& cursor,
                                              const unsigned char* end) {
  const unsigned char* position = cursor;
  current_.deserialize(position, end);
  if (SkipZero(position, end)) {
    cleanupHistory();
  } else {
    changeHistory([&](Vector<Element>& elements) { elements.deserialize(position, end); });
  }
  cursor = position;
  return cursor;
}

/// Applies change to the history, which is created for it if needed. A change that throws leaves no
/// history where there was none.
template <typename Change>
void StatusChain::changeHistory(Change change) {
  const bool isNew = history_ == nullptr;
  createHistoryIfNeeded();
  try {
    change(history_->elements);
  } catch (...) {
    if (isNew) cleanupHistory();
    throw;
  }
}

}  // namespace qv::kit
