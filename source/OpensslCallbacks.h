#pragma once

struct CRYPTO_dynlock_value;

namespace qvsslinit {

// What OpenSSL calls to lock and to tell threads apart. Each forwards to the singleton. OpenSSL
// calls them on any of its threads, and one that stays in memory may do so after it was unloaded.

extern "C" {

void lock(int mode, int n, const char* file, int line);
unsigned long threadId();
CRYPTO_dynlock_value* dynlockCreate(const char* file, int line);
void dynlock(int mode, CRYPTO_dynlock_value* l, const char* file, int line);
void dynlockDestroy(CRYPTO_dynlock_value* l, const char* file, int line);

}  // extern "C"

}  // namespace qvsslinit
