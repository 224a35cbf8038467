#pragma once

#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

// Text in a heap block of exactly its size, so that AddressSanitizer sees any access past the end.
template <typename CharT>
class ExactBuffer {
 public:
  explicit ExactBuffer(std::size_t size) : size_(size), characters_(new CharT[size]()) {}
  explicit ExactBuffer(const std::vector<CharT>& characters) : ExactBuffer(characters.size()) {
    std::copy(characters.begin(), characters.end(), begin());
  }
  ExactBuffer(std::initializer_list<CharT> characters)
      : ExactBuffer(std::vector<CharT>(characters)) {}

  CharT* begin() { return characters_.get(); }
  CharT* end() { return begin() + size_; }
  const CharT* begin() const { return characters_.get(); }
  const CharT* end() const { return begin() + size_; }
  std::size_t size() const { return size_; }
  std::vector<CharT> vector() const { return {begin(), end()}; }

 private:
  std::size_t size_;
  std::unique_ptr<CharT[]> characters_;
};
