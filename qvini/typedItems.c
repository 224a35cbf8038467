#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qvini/escapes.h"
#include "qvini/numbers.h"
#include "qvini/qvini.h"
#include "qvini/toolbox.h"

// Room for any integer of 32 bits as text.
enum { kIntegerTextSize = 12 };

int IniPutInt(IniDocument* document, const char* section, const char* key, int value) {
  char text[kIntegerTextSize];
  snprintf(text, sizeof(text), "%d", value);
  return IniPut(document, section, key, text, kIniUnquoted);
}

int IniPutUInt(IniDocument* document, const char* section, const char* key, unsigned value) {
  char text[kIntegerTextSize];
  snprintf(text, sizeof(text), "%u", value);
  return IniPut(document, section, key, text, kIniUnquoted);
}

int IniPutDouble(IniDocument* document, const char* section, const char* key, double value) {
  char text[kDoubleTextSize];
  const int result = qvini_DoubleToStr(value, text);
  return result == kIniFound ? IniPut(document, section, key, text, kIniUnquoted) : result;
}

int IniPutBoolean(IniDocument* document, const char* section, const char* key, int value) {
  return IniPut(document, section, key, value ? "True" : "False", kIniUnquoted);
}

int IniPutStringWithOptions(IniDocument* document, const char* section, const char* key,
                            const char* value, int quoted, int escaped) {
  const char quote = quoted ? kIniDoubleQuote : kIniUnquoted;
  const char* const text = value == NULL ? "" : value;
  if (!escaped) return IniPut(document, section, key, text, quote);
  char* const copy = qvini_Escape(text);
  if (copy == NULL) return kIniOutOfMemory;
  const int result = IniPut(document, section, key, copy, quote);
  free(copy);
  return result;
}

int IniPutString(IniDocument* document, const char* section, const char* key, const char* value) {
  return IniPutStringWithOptions(document, section, key, value, 1, 1);
}

int IniPutRawString(IniDocument* document, const char* section, const char* key,
                    const char* value) {
  return IniPutStringWithOptions(document, section, key, value, 1, 0);
}

// The value of an item, or null when there is none or when it is blank.
static const char* FindText(IniDocument* document, const char* section, const char* key) {
  const char* value = NULL;
  if (IniGet(document, section, key, &value) != kIniFound) return NULL;
  return qvini_TrimmedText(value).length == 0 ? NULL : value;
}

int IniGetInt(IniDocument* document, const char* section, const char* key, int* value) {
  const char* const text = FindText(document, section, key);
  int unwanted = 0;
  return text == NULL ? kIniMissing : qvini_StrToInt(text, value == NULL ? &unwanted : value);
}

int IniGetUInt(IniDocument* document, const char* section, const char* key, unsigned* value) {
  const char* const text = FindText(document, section, key);
  unsigned unwanted = 0;
  return text == NULL ? kIniMissing : qvini_StrToUInt(text, value == NULL ? &unwanted : value);
}

int IniGetDouble(IniDocument* document, const char* section, const char* key, double* value) {
  const char* const text = FindText(document, section, key);
  double unwanted = 0;
  return text == NULL ? kIniMissing : qvini_StrToDouble(text, value == NULL ? &unwanted : value);
}

int IniGetBoolean(IniDocument* document, const char* section, const char* key, int* value) {
  const char* const text = FindText(document, section, key);
  int unwanted = 0;
  return text == NULL ? kIniMissing : qvini_StrToBoolean(text, value == NULL ? &unwanted : value);
}

static void CopyWhole(const char* text, char* result) {
  memcpy(result, text, strlen(text) + 1);
}

// Fills the string cache with what write makes of the item's value: no more than its length.
static int GetPointer(IniDocument* document, const char* section, const char* key,
                      const char** value, void (*write)(const char*, char*)) {
  const char* const text = FindText(document, section, key);
  if (text == NULL) return kIniMissing;
  const size_t size = strlen(text) + 1;
  const int result = SetStringCacheSize(&document->stringCache, size < 256 ? 256 : size);
  if (result != kIniDone) return result;
  write(text, document->stringCache.bytes);
  if (value != NULL) *value = document->stringCache.bytes;
  return kIniFound;
}

int IniGetPointerToRawString(IniDocument* document, const char* section, const char* key,
                             const char** value) {
  return GetPointer(document, section, key, value, CopyWhole);
}

int IniGetPointerToString(IniDocument* document, const char* section, const char* key,
                          const char** value) {
  return GetPointer(document, section, key, value, qvini_Unescape);
}
