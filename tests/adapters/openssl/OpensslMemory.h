#pragma once

#include <openssl/crypto.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>

namespace qv::tests {

/// Counts the blocks of memory that OpenSSL has asked for and not given back.
class OpensslMemory {
 public:
  /// To be called before OpenSSL asks for any: later it does not let itself be counted.
  static void count(decltype(::CRYPTO_set_mem_functions)* setFunctions) {
    if (setFunctions(allocate, reallocate, free) != 1) {
      throw std::runtime_error("OpenSSL has memory already");
    }
  }

  static long blocks() { return blocks_; }

 private:
  static void* allocate(std::size_t size, const char* /*file*/, int /*line*/) {
    void* block = std::malloc(size);
    if (block != nullptr) ++blocks_;
    return block;
  }
  static void* reallocate(void* block, std::size_t size, const char* /*file*/, int /*line*/) {
    void* moved = std::realloc(block, size);
    if (block == nullptr && moved != nullptr) ++blocks_;
    return moved;
  }
  static void free(void* block, const char* /*file*/, int /*line*/) {
    if (block != nullptr) --blocks_;
    std::free(block);
  }

  static inline std::atomic<long> blocks_{0};
};

}  // namespace qv::tests
