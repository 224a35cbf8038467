/// A buffer for one line of text.
#pragma once

#include <stddef.h>

#include "qvini/toolbox.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qvini_TextBuffer {
  char* bytes;
  /// Bytes taken, and all that there are.
  size_t length;
  size_t size;
} qvini_TextBuffer;

/// Makes a buffer of 256 bytes of uninitialized memory: 1, or 0 when there is no memory. The caller
/// frees its bytes.
int qvini_InitTextBuffer(qvini_TextBuffer* buffer);

/// Makes the buffer twice as large: 1, or 0 when there is no memory, and it is as it was.
int qvini_DoubleTextBuffer(qvini_TextBuffer* buffer);

/// Adds a range: 1, or 0 when there is no memory. There is room for a NUL behind it.
int qvini_AddText(qvini_TextBuffer* buffer, qvini_Range range);

#ifdef __cplusplus
}
#endif
