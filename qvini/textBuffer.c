#include "qvini/textBuffer.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

enum { kFirstSize = 256 };

int qvini_InitTextBuffer(qvini_TextBuffer* buffer) {
  buffer->bytes = malloc(kFirstSize);
  buffer->length = 0;
  buffer->size = kFirstSize;
  return buffer->bytes != NULL;
}

int qvini_DoubleTextBuffer(qvini_TextBuffer* buffer) {
  if (buffer->size > SIZE_MAX / 2) return 0;
  char* const bytes = realloc(buffer->bytes, buffer->size * 2);
  if (bytes == NULL) return 0;
  buffer->bytes = bytes;
  buffer->size *= 2;
  return 1;
}

int qvini_AddText(qvini_TextBuffer* buffer, qvini_Range range) {
  while (buffer->size - buffer->length <= range.length) {
    if (!qvini_DoubleTextBuffer(buffer)) return 0;
  }
  if (range.length > 0) memcpy(buffer->bytes + buffer->length, range.begin, range.length);
  buffer->length += range.length;
  return 1;
}
