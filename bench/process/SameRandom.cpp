#include "bench/process/SameRandom.h"

#define OPENSSL_SUPPRESS_DEPRECATED  // what replaced it wants a provider
#include <dlfcn.h>
#include <openssl/rand.h>

#include <random>

namespace qv::bench {
namespace {

int Give(unsigned char* bytes, int count) {
  static std::mt19937_64 numbers(1);
  for (int i = 0; i < count; ++i)
    bytes[i] = static_cast<unsigned char>(numbers());
  return 1;
}

// What the time and the process add is what would differ.
int Seed(const void* /*bytes*/, int /*count*/) {
  return 1;
}
int Add(const void* /*bytes*/, int /*count*/, double /*randomness*/) {
  return 1;
}
int Status() {
  return 1;
}

}  // namespace

bool UseSameRandom(const char* library) {
  static const RAND_METHOD method = {Seed, Give, nullptr, Add, Give, Status};
  void* const openssl = ::dlopen(library, RTLD_NOW);
  if (openssl == nullptr) return false;
  const auto set =
      reinterpret_cast<decltype(&RAND_set_rand_method)>(::dlsym(openssl, "RAND_set_rand_method"));
  return set != nullptr && set(&method) == 1;
}

}  // namespace qv::bench
