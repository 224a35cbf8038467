#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "qvini/continuation.h"
#include "qvini/items.h"
#include "qvini/qvini.h"
#include "qvini/textBuffer.h"
#include "qvini/toolbox.h"

typedef struct Reading {
  IniDocument* document;
  // Where entries go; null before the first header.
  qvini_Section* section;
  int line;
} Reading;

static void NoteBadLine(const Reading* reading) {
  if (reading->document->firstBadLine == kIniNoLine)
    reading->document->firstBadLine = reading->line;
}

static int AddSection(Reading* reading, const char* name) {
  qvini_Section* const section = qvini_NewSection(reading->document, name, reading->line);
  if (section == NULL) return kIniOutOfMemory;
  if (!qvini_Append(reading->document->sections, section)) {
    qvini_DisposeSection(section);
    return kIniOutOfMemory;
  }
  reading->section = section;
  return kIniDone;
}

// text begins behind the "[". Lines may be written into, so that names end with NUL.
static int TakeHeader(Reading* reading, char* text) {
  char* const end = strchr(text, ']');
  if (end == NULL) {
    NoteBadLine(reading);
    return kIniDone;
  }
  *end = '\0';
  const qvini_Range name = qvini_TrimmedText(text);
  if (name.length == 0) {
    NoteBadLine(reading);
    return kIniDone;
  }
  text[(size_t)(name.begin - text) + name.length] = '\0';

  qvini_Section* const present =
      reading->document->mergeDuplicates ? qvini_FindSection(reading->document, name.begin) : NULL;
  if (present == NULL) return AddSection(reading, name.begin);
  present->line = reading->line;
  reading->section = present;
  return kIniDone;
}

static int AddEntry(const Reading* reading, const char* key, const char* value) {
  const IniDocument* const document = reading->document;
  qvini_Entry* const entry =
      IniNewEntryHandleQuotes(document->readFlags, key, value, reading->line);
  if (entry == NULL) return kIniOutOfMemory;
  qvini_Entry* const present =
      document->mergeDuplicates ? qvini_FindEntry(document, reading->section, entry->name) : NULL;
  if (present != NULL) {
    present->line = reading->line;
    qvini_TakeValue(present, entry);
    return kIniDone;
  }
  if (qvini_Append(&reading->section->entries, entry)) return kIniDone;
  qvini_DisposeEntry(entry);
  return kIniOutOfMemory;
}

static int TakeEntry(Reading* reading, char* text) {
  const int colons = (reading->document->readFlags & kIniReadColons) != 0;
  char* const separator = strpbrk(text, colons ? "=:" : "=");
  if (separator == NULL) {
    NoteBadLine(reading);
    return kIniDone;
  }
  const char* const value = separator + (*separator == ':' && separator[1] == '=' ? 2 : 1);
  *separator = '\0';
  const int acceptsEmpty = (reading->document->readFlags & kIniReadEmptyValues) != 0;
  if (qvini_TrimmedText(text).length == 0 ||
      (qvini_TrimmedText(value).length == 0 && !acceptsEmpty)) {
    NoteBadLine(reading);
    return kIniDone;
  }
  if (reading->section == NULL) {
    if (!colons) return kIniDone;
    const int result = AddSection(reading, kNullSectionName);
    if (result != kIniDone) return result;
  }
  return AddEntry(reading, text, value);
}

static int TakeLine(Reading* reading, char* text) {
  while (qvini_IsBlank(*text))
    ++text;
  switch (*text) {
    case '\0':
    case ';':
      return kIniDone;
    case '[':
      return TakeHeader(reading, text + 1);
    default:
      return TakeEntry(reading, text);
  }
}

// Gets a whole line into the buffer, whose length is that of all parts but the last. Gives what the
// input function gave for the last one.
static int GetLine(qvini_TextBuffer* buffer, IniLineInputFunction input, void* source) {
  buffer->length = 0;
  for (;;) {
    char* const part = buffer->bytes + buffer->length;
    const int result = input(source, part, buffer->size - buffer->length);
    if (result == kIniInputEnd) *part = '\0';
    if (result != kIniInputPart) return result;
    buffer->length += strlen(part);
    if (!qvini_DoubleTextBuffer(buffer)) return kIniOutOfMemory;
  }
}

static int ReadLines(Reading* reading, IniLineInputFunction input, void* source) {
  qvini_TextBuffer buffer;
  if (!qvini_InitTextBuffer(&buffer)) return kIniOutOfMemory;
  int result = kIniDone;
  while (result == kIniDone) {
    const int got = GetLine(&buffer, input, source);
    if (got < 0) result = got;
    // The lines may end behind a part that was all of its line.
    if (got < 0 || (got == kIniInputEnd && buffer.length == 0)) break;
    if (reading->line < INT_MAX) ++reading->line;
    result = TakeLine(reading, buffer.bytes);
    if (got == kIniInputEnd) break;
  }
  free(buffer.bytes);
  return result;
}

int IniRead(IniDocument* document, IniLineInputFunction input, void* source) {
  if (document == NULL || input == NULL) return kIniBadPath;
  qvini_Empty(document);
  Reading reading = {document, NULL, 0};
  int result = ReadLines(&reading, input, source);
  if (result == kIniDone) result = qvini_JoinLongValues(document);
  if (result != kIniDone) qvini_Empty(document);
  return result;
}
