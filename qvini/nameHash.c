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

// Up to eight bytes as a little-endian number.
static uint64_t WordAt(const char* bytes, size_t count, int inAnyCase) {
  uint64_t word = 0;
  for (size_t i = 0; i < count; ++i) {
    const char c = inAnyCase ? qvini_LowerCase(bytes[i]) : bytes[i];
    word |= (uint64_t)(unsigned char)c << (8 * i);
  }
  return word;
}

uint64_t qvini_HashName(const qvini_HashKey* key, qvini_Range name, int inAnyCase) {
  State s = {key->first ^ UINT64_C(0x736f6d6570736575), key->second ^ UINT64_C(0x646f72616e646f6d),
             key->first ^ UINT64_C(0x6c7967656e657261), key->second ^ UINT64_C(0x7465646279746573)};
  size_t done = 0;
  for (; name.length - done >= 8; done += 8)
    Mix(&s, WordAt(name.begin + done, 8, inAnyCase));
  const uint64_t rest = WordAt(name.begin + done, name.length - done, inAnyCase);
  Mix(&s, rest | (uint64_t)name.length << 56);

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
