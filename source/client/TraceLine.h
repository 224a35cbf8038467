#pragma once

#include <pthread.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qv::traceengine {

/// The text of a record while it is put together: at most 511 bytes, whatever is beyond is cut. No
/// operation allocates or fails. It is put together by hand because two passes through snprintf
/// would take most of the time that a record takes.
class TraceLine {
 public:
  void append(const char* text) noexcept {
    const std::size_t length = ::strnlen(text, room());
    std::memcpy(text_ + length_, text, length);
    length_ += length;
  }

  /// The identity of the calling thread in base 16.
  void appendThreadID() noexcept {
    char digits[2 * sizeof(std::uintptr_t) + 1] = {};
    char* digit = digits + sizeof digits - 1;
    // A number on some systems and a pointer on others.
    auto rest = std::uintptr_t(pthread_self());
    do {
      *--digit = "0123456789ABCDEF"[rest % 16];
      rest /= 16;
    } while (rest != 0);
    append(digit);
  }

  [[gnu::format(printf, 2, 0)]] void appendFormatted(const char* format,
                                                     std::va_list arguments) noexcept {
    // Formatting may fail in the middle: what is there then ends with a terminator all the same.
    std::vsnprintf(text_ + length_, sizeof text_ - length_, format, arguments);
    text_[sizeof text_ - 1] = '\0';
    length_ += std::strlen(text_ + length_);
  }

  char* text() noexcept { return text_; }

 private:
  std::size_t room() const noexcept { return sizeof text_ - 1 - length_; }

  char text_[512] = {};
  std::size_t length_ = 0;
};

}  // namespace qv::traceengine
