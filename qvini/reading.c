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
      reading->document->mergeDuplicates ? qvini_FindSection(reading->document, name) : NULL;
  if (present == NULL) return AddSection(reading, name.begin);
  present->line = reading->line;
  reading->section = present;
  return kIniDone;
}

static int AddEntry(const Reading* reading, qvini_Range name, qvini_Range value) {
  qvini_Section* const section = reading->section;
  qvini_Entry* const entry =
      IniNewEntryHandleQuotes(reading->document->readFlags, name, value, reading->line);
  if (entry == NULL) return kIniOutOfMemory;
  if (!qvini_Append(&section->entries, entry)) {
    qvini_DisposeEntry(entry);
    return kIniOutOfMemory;
  }
  size_t baseLength = 0;
  if (qvini_IsFirstPiece(entry, &baseLength)) section->hasPieces = 1;
  return kIniDone;
}

static int ReplaceValue(const Reading* reading, qvini_Entry* entry, qvini_Range value) {
  const char quote = qvini_TakeQuotes(reading->document->readFlags, &value);
  if (!qvini_SetValue(entry, value, quote)) return kIniOutOfMemory;
  entry->line = reading->line;
  return kIniDone;
}

// Where the text up to it is a key; null where the line has none.
static const char* FindSeparator(qvini_Range text, int colons) {
  const char* const equals = memchr(text.begin, '=', text.length);
  if (!colons) return equals;
  if (equals != NULL) text.length = (size_t)(equals - text.begin);
  const char* const colon = text.length == 0 ? NULL : memchr(text.begin, ':', text.length);
  return colon != NULL ? colon : equals;
}

static int TakeEntry(Reading* reading, qvini_Range text) {
  const int colons = (reading->document->readFlags & kIniReadColons) != 0;
  const int acceptsEmpty = (reading->document->readFlags & kIniReadEmptyValues) != 0;
  const char* const separator = FindSeparator(text, colons);
  if (separator == NULL) {
    NoteBadLine(reading);
    return kIniDone;
  }
  const qvini_Range beforeIt = {text.begin, (size_t)(separator - text.begin)};
  qvini_Range behindIt = {separator + 1, text.length - beforeIt.length - 1};
  if (*separator == ':' && behindIt.length > 0 && *behindIt.begin == '=') {
    ++behindIt.begin;
    --behindIt.length;
  }
  const qvini_Range name = qvini_Trimmed(beforeIt);
  const qvini_Range value = qvini_Trimmed(behindIt);
  if (name.length == 0 || (value.length == 0 && !acceptsEmpty)) {
    NoteBadLine(reading);
    return kIniDone;
  }
  if (reading->section == NULL) {
    if (!colons) return kIniDone;
    const int result = AddSection(reading, kNullSectionName);
    if (result != kIniDone) return result;
  }
  qvini_Entry* const present = reading->document->mergeDuplicates
                                   ? qvini_FindEntry(reading->document, reading->section, name)
                                   : NULL;
  return present == NULL ? AddEntry(reading, name, value) : ReplaceValue(reading, present, value);
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
      return TakeEntry(reading, qvini_Whole(text));
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
