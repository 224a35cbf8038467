#include "qvini/numbers.h"

#include <errno.h>
#include <limits.h>
#include <locale.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qvini/qvini.h"
#include "qvini/toolbox.h"

#if UINT_MAX != 4294967295U
#error "an int has 32 bits here"
#endif

int ConvertNumStrToUint(const char* text, unsigned* magnitude, int* isNegative) {
  qvini_Range rest = qvini_TrimmedText(text);
  int negative = 0;
  if (rest.length > 0 && (*rest.begin == '-' || *rest.begin == '+')) {
    negative = *rest.begin == '-';
    ++rest.begin;
    --rest.length;
  }
  if (rest.length == 0) return 0;

  unsigned value = 0;
  for (size_t i = 0; i < rest.length; ++i) {
    if (!qvini_IsDigit(rest.begin[i])) return 0;
    const unsigned digit = (unsigned)(rest.begin[i] - '0');
    if (value > (UINT_MAX - digit) / 10) return 0;
    value = value * 10 + digit;
  }
  *magnitude = value;
  *isNegative = negative;
  return 1;
}

int qvini_StrToInt(const char* text, int* value) {
  unsigned magnitude = 0;
  int negative = 0;
  if (!ConvertNumStrToUint(text, &magnitude, &negative)) return kIniNotAnInt;
  if (magnitude > (unsigned)INT_MAX + (unsigned)negative) return kIniNotAnInt;
  // The smallest number has no positive counterpart to negate.
  *value = negative && magnitude > 0 ? -(int)(magnitude - 1) - 1 : (int)magnitude;
  return kIniFound;
}

int qvini_StrToUInt(const char* text, unsigned* value) {
  unsigned magnitude = 0;
  int negative = 0;
  if (!ConvertNumStrToUint(text, &magnitude, &negative) || negative) return kIniNotAnUnsigned;
  *value = magnitude;
  return kIniFound;
}

// The radix character is the locale's. A locale of our own, set for this thread alone, leaves other
// threads in peace, whatever setlocale() they call meanwhile.
typedef struct NeutralLocale {
  locale_t neutral;
  locale_t former;
} NeutralLocale;

static int Enter(NeutralLocale* locale) {
  locale->neutral = newlocale(LC_ALL_MASK, "C", (locale_t)0);
  if (locale->neutral == (locale_t)0) return 0;
  locale->former = uselocale(locale->neutral);
  return 1;
}

static void Leave(const NeutralLocale* locale) {
  uselocale(locale->former);
  freelocale(locale->neutral);
}

static int IsWord(const char* text, const char* word) {
  return qvini_EqualInAnyCase(qvini_Whole(text), qvini_Whole(word));
}

int qvini_StrToDouble(const char* text, double* value) {
  if (text == NULL) return kIniNotADouble;
  if (IsWord(text, "+Inf") || IsWord(text, "Inf")) {
    *value = HUGE_VAL;
    return kIniFound;
  }
  if (IsWord(text, "-Inf")) {
    *value = -HUGE_VAL;
    return kIniFound;
  }

  NeutralLocale locale;
  if (!Enter(&locale)) return kIniOutOfMemory;
  const int formerError = errno;
  errno = 0;
  char* end = NULL;
  const double number = strtod(text, &end);
  const int failed = errno != 0 || end == text || *end != '\0';
  errno = formerError;
  Leave(&locale);

  if (failed) return kIniNotADouble;
  *value = number;
  return kIniFound;
}

int qvini_StrToBoolean(const char* text, int* value) {
  if (qvini_StrICmpWithoutSurrWhiteSpace(text, "True") == 0) {
    *value = 1;
  } else if (qvini_StrICmpWithoutSurrWhiteSpace(text, "False") == 0) {
    *value = 0;
  } else {
    return kIniNotABoolean;
  }
  return kIniFound;
}

int qvini_DoubleToStr(double value, char text[kDoubleTextSize]) {
  NeutralLocale locale;
  if (!Enter(&locale)) return kIniOutOfMemory;
  snprintf(text, kDoubleTextSize, "%.14e", value);
  Leave(&locale);
  return kIniFound;
}
