#include "qvini/toolbox.h"

#include <stdlib.h>
#include <string.h>

int qvini_IsControl(char c) {
  const unsigned char byte = (unsigned char)c;
  return byte < 0x20 || byte == 0x7f;
}

int qvini_EqualExactly(qvini_Range a, qvini_Range b) {
  return a.length == b.length && (a.length == 0 || memcmp(a.begin, b.begin, a.length) == 0);
}

int qvini_EqualInAnyCase(qvini_Range a, qvini_Range b) {
  if (a.length != b.length) return 0;
  // Names are mostly looked for as they are spelled, and others mostly differ at their ends.
  if (qvini_EqualExactly(a, b)) return 1;
  for (size_t i = a.length; i > 0; --i) {
    if (qvini_LowerCase(a.begin[i - 1]) != qvini_LowerCase(b.begin[i - 1])) return 0;
  }
  return 1;
}

char* qvini_Copy(qvini_Range range) {
  char* const copy = malloc(range.length + 1);
  if (copy == NULL) return NULL;
  if (range.length > 0) memcpy(copy, range.begin, range.length);
  copy[range.length] = '\0';
  return copy;
}

char* qvini_StrDupWithoutSurrWhiteSpace(const char* text) {
  return qvini_Copy(qvini_TrimmedText(text));
}

static int LowerByteAt(qvini_Range range, size_t i) {
  return i < range.length ? (unsigned char)qvini_LowerCase(range.begin[i]) : 0;
}

int qvini_StrICmpWithoutSurrWhiteSpace(const char* a, const char* b) {
  const qvini_Range first = qvini_TrimmedText(a);
  const qvini_Range second = qvini_TrimmedText(b);
  size_t i = 0;
  while (i < first.length && LowerByteAt(first, i) == LowerByteAt(second, i))
    ++i;
  return LowerByteAt(first, i) - LowerByteAt(second, i);
}
