/*
 * The locking callbacks, for a libcrypto that locks by itself and never asks for one. What is set
 * can be read back and has no other effect. As with the 1.0 series, callbacks are set by one
 * thread, before others use the library.
 */
#include "adapters/openssl/callbacks.h"

static LockingCallback locking_callback;
static IdCallback id_callback;
static DynlockCreateCallback dynlock_create_callback;
static DynlockLockCallback dynlock_lock_callback;
static DynlockDestroyCallback dynlock_destroy_callback;

/* At least one, so that a caller that makes an array of locks has one to make. */
int CRYPTO_num_locks(void) {
  return 1;
}

void CRYPTO_set_locking_callback(LockingCallback callback) {
  locking_callback = callback;
}

LockingCallback CRYPTO_get_locking_callback(void) {
  return locking_callback;
}

void CRYPTO_set_id_callback(IdCallback callback) {
  id_callback = callback;
}

IdCallback CRYPTO_get_id_callback(void) {
  return id_callback;
}

void CRYPTO_set_dynlock_create_callback(DynlockCreateCallback callback) {
  dynlock_create_callback = callback;
}

DynlockCreateCallback CRYPTO_get_dynlock_create_callback(void) {
  return dynlock_create_callback;
}

void CRYPTO_set_dynlock_lock_callback(DynlockLockCallback callback) {
  dynlock_lock_callback = callback;
}

DynlockLockCallback CRYPTO_get_dynlock_lock_callback(void) {
  return dynlock_lock_callback;
}

void CRYPTO_set_dynlock_destroy_callback(DynlockDestroyCallback callback) {
  dynlock_destroy_callback = callback;
}

DynlockDestroyCallback CRYPTO_get_dynlock_destroy_callback(void) {
  return dynlock_destroy_callback;
}
