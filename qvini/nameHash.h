/// Hash values of names, which nobody can predict who does not know the key: a file of names made
/// to collide cannot slow its reader down.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "qvini/toolbox.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qvini_HashKey {
  uint64_t first;
  uint64_t second;
} qvini_HashKey;

/// A random key. Where the system has no random bytes to give, times and addresses stand in.
qvini_HashKey qvini_NewHashKey(void);

/// SipHash-1-3 of the bytes of name; with inAnyCase, names that differ in the case of ASCII letters
/// alone have the same value.
uint64_t qvini_HashName(const qvini_HashKey* key, qvini_Range name, int inAnyCase);

#ifdef __cplusplus
}
#endif
