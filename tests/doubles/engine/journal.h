#pragma once

// The journal for an engine in plain C: what it writes down, and what it is told to do.

#include <stdbool.h>
#include <wchar.h>

#include "abi/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QVTEST_EXPORTED __attribute__((visibility("default")))

QVTEST_EXPORTED void QVTEST_Note(const char* line);
QVTEST_EXPORTED void QVTEST_KeepBlock(const LoggingBlockLayout* block);
/// Whether there are blocks to give out.
QVTEST_EXPORTED bool QVTEST_HasBlocks(void);
QVTEST_EXPORTED bool QVTEST_ShowTagNames(void);
QVTEST_EXPORTED const wchar_t* QVTEST_ConfigDirectory(void);

#ifdef __cplusplus
}
#endif
