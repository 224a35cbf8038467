/// Text as the INI format sees it: ASCII and white space by hand, whatever the locale.
#pragma once

#include <stddef.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Part of somebody else's text.
typedef struct qvini_Range {
  const char* begin;
  size_t length;
} qvini_Range;

// Inline, for every byte that is read or looked for goes through these.

/// Blank, TAB, LF, VT, FF or CR.
static inline int qvini_IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// 0 to 31, and DEL.
int qvini_IsControl(char c);

static inline int qvini_IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The small letter of an ASCII capital; every other byte as it is.
static inline char qvini_LowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? (char)(c + ('a' - 'A')) : c;
}

/// All of text; an empty range for null.
static inline qvini_Range qvini_Whole(const char* text) {
  const qvini_Range range = {text, text == NULL ? 0 : strlen(text)};
  return range;
}

/// The range without white space at both ends.
static inline qvini_Range qvini_Trimmed(qvini_Range range) {
  while (range.length > 0 && qvini_IsBlank(range.begin[range.length - 1]))
    --range.length;
  while (range.length > 0 && qvini_IsBlank(*range.begin)) {
    ++range.begin;
    --range.length;
  }
  return range;
}

/// All of text without white space at both ends; an empty range for null.
static inline qvini_Range qvini_TrimmedText(const char* text) {
  return qvini_Trimmed(qvini_Whole(text));
}

/// Whether two ranges have the same bytes.
int qvini_EqualExactly(qvini_Range a, qvini_Range b);

/// The same, whatever the case of ASCII letters.
int qvini_EqualInAnyCase(qvini_Range a, qvini_Range b);

/// A copy that ends with NUL, for the caller to free; null when there is no memory.
char* qvini_Copy(qvini_Range range);

/// A copy of text without white space at both ends, for the caller to free; null when there is no
/// memory.
char* qvini_StrDupWithoutSurrWhiteSpace(const char* text);

/// Compares two texts whatever the case of ASCII letters and the white space around them: negative,
/// 0 or positive as strcmp.
int qvini_StrICmpWithoutSurrWhiteSpace(const char* a, const char* b);

#ifdef __cplusplus
}
#endif
