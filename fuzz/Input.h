#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qv::fuzz {

/// The bytes that a fuzzer is called with, taken one after another from the front. Behind the last
/// one there are zeros, so that every input is a whole one.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  bool empty() const { return next_ == end_; }

  std::uint8_t byte() { return empty() ? std::uint8_t{0} : *next_++; }

  /// A number below bound, which is 1 at least.
  std::uint32_t below(std::uint32_t bound) {
    std::uint32_t number = byte();
    for (std::uint64_t reach = 0x100; reach < bound; reach <<= 8U)
      number = number << 8U | byte();
    return number % bound;
  }

  bool flip() { return below(2) == 1; }

  /// One of these.
  template <typename Items>
  const auto& oneOf(const Items& items) {
    return items[below(static_cast<std::uint32_t>(std::size(items)))];
  }

  /// The next length bytes, or all that are left.
  std::string text(std::size_t length) {
    const std::size_t taken = std::min(length, static_cast<std::size_t>(end_ - next_));
    std::string text(reinterpret_cast<const char*>(next_), taken);
    next_ += taken;
    return text;
  }

  std::string rest() { return text(static_cast<std::size_t>(end_ - next_)); }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

}  // namespace qv::fuzz
