#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <new>

// Addresses without memory behind them: for lengths that no machine needs to hold. Touching one is
// a crash.
template <typename CharT>
class ReservedRange {
 public:
  /// Whether the address space has room for that many characters: a process of 32 bits cannot even
  /// name them.
  static constexpr bool fits(std::uint64_t size) { return size <= PTRDIFF_MAX / sizeof(CharT); }

  explicit ReservedRange(std::uint64_t size)
      : bytes_(fits(size) ? static_cast<std::size_t>(size) * sizeof(CharT) : SIZE_MAX),
        begin_(::mmap(nullptr, bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1,
                      0)) {
    if (begin_ == MAP_FAILED) throw std::bad_alloc();
  }
  ReservedRange(const ReservedRange&) = delete;
  ReservedRange& operator=(const ReservedRange&) = delete;
  ~ReservedRange() { ::munmap(begin_, bytes_); }

  const CharT* begin() const { return static_cast<const CharT*>(begin_); }
  const CharT* end() const { return begin() + bytes_ / sizeof(CharT); }

 private:
  std::size_t bytes_;
  void* begin_;
};
