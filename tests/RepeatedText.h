#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <new>

// Many gibibytes of text that take the memory of one block: the block mapped over and over. A text
// that fills its blocks, of 2 MiB, ends with a zero.
template <typename CharT>
class RepeatedText {
 public:
  RepeatedText(std::size_t length, CharT character)
      : length_(length), blockBytes_((length * sizeof(CharT) + kBlock - 1) / kBlock * kBlock) {
    const int file = ::memfd_create("text", 0);
    const bool sized = file >= 0 && ::ftruncate(file, kBlock) == 0;
    begin_ = static_cast<char*>(::mmap(nullptr, blockBytes_ + kZeros, PROT_READ,
                                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    if (!sized || begin_ == MAP_FAILED) throw std::bad_alloc();
    for (std::size_t place = 0; place < blockBytes_; place += kBlock) {
      if (::mmap(begin_ + place, kBlock, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) ==
          MAP_FAILED) {
        throw std::bad_alloc();
      }
    }
    ::close(file);
    std::fill_n(reinterpret_cast<CharT*>(begin_), kBlock / sizeof(CharT), character);
  }
  RepeatedText(const RepeatedText&) = delete;
  RepeatedText& operator=(const RepeatedText&) = delete;
  ~RepeatedText() { ::munmap(begin_, blockBytes_ + kZeros); }

  const CharT* begin() const { return reinterpret_cast<const CharT*>(begin_); }
  const CharT* end() const { return begin() + length_; }

 private:
  static constexpr std::size_t kBlock = std::size_t{1} << 21;
  static constexpr std::size_t kZeros = 4096;

  std::size_t length_;
  std::size_t blockBytes_;
  char* begin_;
};
