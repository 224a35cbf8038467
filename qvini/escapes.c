#include "qvini/escapes.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "qvini/toolbox.h"

// The letter that stands for c behind a backslash, or 0.
static char EscapeLetter(char c) {
  switch (c) {
    case '\t':
      return 't';
    case '\n':
      return 'n';
    case '"':
    case '\\':
      return c;
    default:
      return 0;
  }
}

// Bytes of the longest escape.
enum { kLongestEscape = 4 };

static size_t EscapedLength(const char* text) {
  size_t length = 0;
  for (; *text != '\0'; ++text) {
    if (EscapeLetter(*text) != 0) {
      length += 2;
    } else {
      length += qvini_IsControl(*text) ? kLongestEscape : 1;
    }
  }
  return length;
}

char* qvini_Escape(const char* text) {
  // Where addresses have 32 bits, a gibibyte of control characters takes more than there is.
  if (strlen(text) > (SIZE_MAX - 1) / kLongestEscape) return NULL;
  char* const result = malloc(EscapedLength(text) + 1);
  if (result == NULL) return NULL;
  char* to = result;
  for (; *text != '\0'; ++text) {
    const char letter = EscapeLetter(*text);
    if (letter != 0) {
      *to++ = '\\';
      *to++ = letter;
    } else if (qvini_IsControl(*text)) {
      *to++ = '\\';
      *to++ = 'x';
      *to++ = "0123456789abcdef"[*text >> 4];
      *to++ = "0123456789abcdef"[*text & 15];
    } else {
      *to++ = *text;
    }
  }
  *to = '\0';
  return result;
}

// The value of a hexadecimal digit, or -1.
static int DigitValue(char c) {
  if (qvini_IsDigit(c)) return c - '0';
  const char letter = qvini_LowerCase(c);
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// Whether two hexadecimal digits begin at text, and the byte that they mean.
static int ReadByte(const char* text, char* byte) {
  const int high = DigitValue(text[0]);
  if (high < 0) return 0;
  const int low = DigitValue(text[1]);
  if (low < 0) return 0;
  *byte = (char)(high * 16 + low);
  return 1;
}

void qvini_Unescape(const char* text, char* result) {
  int pending = 0;
  for (; *text != '\0'; ++text) {
    if (!pending) {
      if (*text == '\\') {
        pending = 1;
      } else {
        *result++ = *text;
      }
      continue;
    }
    pending = 0;
    if (*text == 'n') {
      *result++ = '\n';
    } else if (*text == 't') {
      *result++ = '\t';
    } else if (*text == 'x' && ReadByte(text + 1, result)) {
      ++result;
      text += 2;
    } else {
      *result++ = *text;
    }
  }
  *result = '\0';
}
