#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace qv::traceengine {

/// The text of a record while it is put together: at most 511 bytes, whatever is beyond is cut. No
/// operation allocates or fails. It is put together by hand because two passes through snprintf
/// would take most of the time that a record takes.
class TraceLine {
 public:
  /// For null "(null)", as the C library has it.
  void append(const char* text) noexcept;
  void append(std::string_view text) noexcept {
    if (text.size() > room()) text = text.substr(0, room());
    std::memcpy(text_ + length_, text.data(), text.size());
    length_ += text.size();
  }
  void append(char character) noexcept {
    if (room() != 0) text_[length_++] = character;
  }

  /// The identity of the calling thread in base 16.
  void appendThreadID() noexcept;

  /// What printf would write. Formats of nothing but %s and %d, as most are, take a short way:
  /// the C library would take more than half of the time of a record. For null "(null)".
  [[gnu::format(printf, 2, 0)]] void appendFormatted(const char* format,
                                                     std::va_list arguments) noexcept;

  /// The text so far, with a terminator.
  char* text() noexcept;

 private:
  std::size_t room() const noexcept { return sizeof text_ - 1 - length_; }

  char text_[512];
  std::size_t length_ = 0;
};

}  // namespace qv::traceengine
