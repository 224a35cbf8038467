#pragma once

/* The 1.0-series locking interface, which current OpenSSL headers turn into empty macros. */

#include "adapters/openssl/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

struct CRYPTO_dynlock_value;

typedef void (*LockingCallback)(int mode, int n, const char* file, int line);
typedef unsigned long (*IdCallback)(void);
typedef struct CRYPTO_dynlock_value* (*DynlockCreateCallback)(const char* file, int line);
typedef void (*DynlockLockCallback)(int mode, struct CRYPTO_dynlock_value* lock, const char* file,
                                    int line);
typedef void (*DynlockDestroyCallback)(struct CRYPTO_dynlock_value* lock, const char* file,
                                       int line);

QV_ADAPTER_EXPORT int CRYPTO_num_locks(void);

QV_ADAPTER_EXPORT void CRYPTO_set_locking_callback(LockingCallback callback);
QV_ADAPTER_EXPORT LockingCallback CRYPTO_get_locking_callback(void);

QV_ADAPTER_EXPORT void CRYPTO_set_id_callback(IdCallback callback);
QV_ADAPTER_EXPORT IdCallback CRYPTO_get_id_callback(void);

QV_ADAPTER_EXPORT void CRYPTO_set_dynlock_create_callback(DynlockCreateCallback callback);
QV_ADAPTER_EXPORT DynlockCreateCallback CRYPTO_get_dynlock_create_callback(void);

QV_ADAPTER_EXPORT void CRYPTO_set_dynlock_lock_callback(DynlockLockCallback callback);
QV_ADAPTER_EXPORT DynlockLockCallback CRYPTO_get_dynlock_lock_callback(void);

QV_ADAPTER_EXPORT void CRYPTO_set_dynlock_destroy_callback(DynlockDestroyCallback callback);
QV_ADAPTER_EXPORT DynlockDestroyCallback CRYPTO_get_dynlock_destroy_callback(void);

#ifdef __cplusplus
}
#endif
