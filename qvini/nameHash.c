#include "qvini/nameHash.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

typedef struct State {
  uint64_t v0, v1, v2, v3;
} State;

static uint64_t Rotated(uint64_t word, unsigned bits) {
  return word << bits | word >> (64 - bits);
}

static void Round(State* s) {
  s->v0 += s->v1;
  s->v1 = Rotated(s->v1, 13) ^ s->v0;
  s->v0 = Rotated(s->v0, 32);
  s->v2 += s->v3;
  s->v3 = Rotated(s->v3, 16) ^ s->v2;
  s->v0 += s->v3;
  s->v3 = Rotated(s->v3, 21) ^ s->v0;
  s->v2 += s->v1;
  s->v1 = Rotated(s->v1, 17) ^ s->v2;
  s->v2 = Rotated(s->v2, 32);
}

static void Mix(State* s, uint64_t word) {
  s->v3 ^= word;
  Round(s);
  s->v0 ^= word;
}

// Eight bytes as a little-endian number; spelled so that compilers make one instruction of it.
static uint64_t WordAt(const char* bytes) {
  const unsigned char* const b = (const unsigned char*)bytes;
  return (uint64_t)b[0] | (uint64_t)b[1] << 8 | (uint64_t)b[2] << 16 | (uint64_t)b[3] << 24 |
         (uint64_t)b[4] << 32 | (uint64_t)b[5] << 40 | (uint64_t)b[6] << 48 | (uint64_t)b[7] << 56;
}

// The same of less than eight.
static uint64_t RestAt(const char* bytes, size_t count) {
  uint64_t word = 0;
  while (count > 0)
    word = word << 8 | (unsigned char)bytes[--count];
  return word;
}

// The same as qvini_LowerCase() of each byte, which takes most of the time of a hash value one by
// one. Sums of seven bits stay in their byte: the eighth bit tells what is at least an "A", and
// what is behind "Z".
static uint64_t LowerCaseWord(uint64_t word) {
  const uint64_t ones = UINT64_C(0x0101010101010101);
  const uint64_t letters = word & 0x7f * ones;
  const uint64_t fromA = letters + (0x80 - 'A') * ones;
  const uint64_t behindZ = letters + (0x80 - 'Z' - 1) * ones;
  const uint64_t capitals = fromA & ~behindZ & ~word & 0x80 * ones;
  return word + (capitals >> 2);
}

uint64_t qvini_HashName(const qvini_HashKey* key, qvini_Range name, int inAnyCase) {
  State s = {key->first ^ UINT64_C(0x736f6d6570736575), key->second ^ UINT64_C(0x646f72616e646f6d),
             key->first ^ UINT64_C(0x6c7967656e657261), key->second ^ UINT64_C(0x7465646279746573)};
  size_t done = 0;
  for (; name.length - done >= 8; done += 8) {
    const uint64_t word = WordAt(name.begin + done);
    Mix(&s, inAnyCase ? LowerCaseWord(word) : word);
  }
  const uint64_t rest = RestAt(name.begin + done, name.length - done);
  Mix(&s, (inAnyCase ? LowerCaseWord(rest) : rest) | (uint64_t)name.length << 56);

  s.v2 ^= 0xff;
  Round(&s);
  Round(&s);
  Round(&s);
  return s.v0 ^ s.v1 ^ s.v2 ^ s.v3;
}

static int ReadRandomKey(qvini_HashKey* key) {
  const int file = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
  if (file == -1) return 0;
  const ssize_t count = read(file, key, sizeof(*key));
  close(file);
  return count == (ssize_t)sizeof(*key);
}

qvini_HashKey qvini_NewHashKey(void) {
  qvini_HashKey key = {0, 0};
  if (ReadRandomKey(&key)) return key;

  struct timespec now = {0, 0};
  clock_gettime(CLOCK_REALTIME, &now);
  key.first = (uint64_t)now.tv_nsec << 32 ^ (uint64_t)now.tv_sec;
  key.second = (uint64_t)(uintptr_t)&key << 16 ^ (uint64_t)getpid();
  return key;
}
