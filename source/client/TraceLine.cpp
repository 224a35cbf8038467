#include "source/client/TraceLine.h"

#include <pthread.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

namespace qv::traceengine {
namespace {

/// Whether format has no conversions but %s and %d.
bool IsSimple(const char* format) noexcept {
  for (; *format != '\0'; ++format) {
    if (*format == '%' && *++format != 's' && *format != 'd') return false;
  }
  return true;
}

void AppendNumber(TraceLine& line, int number) noexcept {
  char digits[std::numeric_limits<int>::digits10 + 2];
  const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  line.append(std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

void AppendSimple(TraceLine& line, const char* format, std::va_list arguments) noexcept {
  for (; *format != '\0'; ++format) {
    if (*format != '%') {
      line.append(*format);
    } else if (*++format == 's') {
      line.append(va_arg(arguments, const char*));
    } else {
      AppendNumber(line, va_arg(arguments, int));
    }
  }
}

}  // namespace

void TraceLine::append(const char* text) noexcept {
  if (text == nullptr) text = "(null)";
  append(std::string_view(text, ::strnlen(text, room())));
}

void TraceLine::appendThreadID() noexcept {
  char digits[2 * sizeof(std::uintptr_t)];
  char* digit = digits + sizeof digits;
  // A number on some systems and a pointer on others.
  auto rest = std::uintptr_t(pthread_self());
  do {
    *--digit = "0123456789ABCDEF"[rest % 16];
    rest /= 16;
  } while (rest != 0);
  append(std::string_view(digit, static_cast<std::size_t>(digits + sizeof digits - digit)));
}

void TraceLine::appendFormatted(const char* format, std::va_list arguments) noexcept {
  if (format == nullptr) return append(nullptr);
  if (IsSimple(format)) return AppendSimple(*this, format, arguments);
  // Formatting may fail in the middle: what is there then ends with a terminator all the same.
  text_[length_] = '\0';
  std::vsnprintf(text_ + length_, room() + 1, format, arguments);
  text_[sizeof text_ - 1] = '\0';
  length_ += std::strlen(text_ + length_);
}

char* TraceLine::text() noexcept {
  text_[length_] = '\0';
  return text_;
}

}  // namespace qv::traceengine
