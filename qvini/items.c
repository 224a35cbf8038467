#include "qvini/items.h"

#include <stdlib.h>
#include <string.h>

#include "qvini/toolbox.h"

const char kNullSectionName[] = "(null)";

// Copies a range, and a NUL behind it.
static char* CopyTo(char* to, qvini_Range range) {
  if (range.length > 0) memcpy(to, range.begin, range.length);
  to[range.length] = '\0';
  return to;
}

qvini_Entry* qvini_NewEntry(qvini_Range name, qvini_Range value, char quote, int line) {
  qvini_Entry* const entry = malloc(sizeof(*entry) + name.length + 1 + value.length + 1);
  if (entry == NULL) return NULL;
  char* const text = (char*)(entry + 1);
  entry->name = CopyTo(text, name);
  entry->value = CopyTo(text + name.length + 1, value);
  entry->line = line;
  entry->quote = quote;
  entry->ownsValue = 0;
  return entry;
}

static int StandsIn(qvini_Range value, char quote) {
  return value.length >= 2 && value.begin[0] == quote && value.begin[value.length - 1] == quote;
}

char qvini_TakeQuotes(unsigned readFlags, qvini_Range* value) {
  char quote = kIniUnquoted;
  if ((readFlags & kIniReadDoubleQuotes) != 0 && StandsIn(*value, kIniDoubleQuote)) {
    quote = kIniDoubleQuote;
  } else if ((readFlags & kIniReadSingleQuotes) != 0 && StandsIn(*value, kIniSingleQuote)) {
    quote = kIniSingleQuote;
  }
  if (quote != kIniUnquoted) {
    ++value->begin;
    value->length -= 2;
  }
  return quote;
}

qvini_Entry* IniNewEntryHandleQuotes(unsigned readFlags, qvini_Range name, qvini_Range value,
                                     int line) {
  const char quote = qvini_TakeQuotes(readFlags, &value);
  return qvini_NewEntry(name, value, quote, line);
}

void qvini_DisposeEntry(qvini_Entry* entry) {
  if (entry == NULL) return;
  if (entry->ownsValue) free(entry->value);
  free(entry);
}

int qvini_SetValue(qvini_Entry* entry, qvini_Range value, char quote) {
  char* const copy = qvini_Copy(value);
  if (copy == NULL) return 0;
  if (entry->ownsValue) free(entry->value);
  entry->value = copy;
  entry->ownsValue = 1;
  entry->quote = quote;
  return 1;
}

qvini_Section* qvini_NewSection(const IniDocument* document, const char* name, int line) {
  qvini_Section* const section = malloc(sizeof(*section));
  if (section == NULL) return NULL;
  section->name = qvini_StrDupWithoutSurrWhiteSpace(name);
  qvini_InitList(&section->entries, &document->sections->key);
  section->flags = document->sectionFlags;
  section->hasPieces = 0;
  section->line = line;
  if (section->name != NULL) return section;
  qvini_DisposeSection(section);
  return NULL;
}

void qvini_DisposeSection(qvini_Section* section) {
  if (section == NULL) return;
  for (size_t i = 1; i <= section->entries.count; ++i)
    qvini_DisposeEntry(qvini_ItemAt(&section->entries, i));
  qvini_ClearList(&section->entries);
  free(section->name);
  free(section);
}

void qvini_Empty(IniDocument* document) {
  for (size_t i = 1; i <= document->sections->count; ++i)
    qvini_DisposeSection(qvini_ItemAt(document->sections, i));
  qvini_ClearList(document->sections);
  document->lastSection = NULL;
  document->firstBadLine = kIniNoLine;
}

static qvini_Comparison ComparisonOf(const IniDocument* document) {
  return document->caseSensitive ? kExactly : kInAnyCase;
}

qvini_Range qvini_WantedName(const IniDocument* document, const char* name) {
  // No bytes of nothing are not for memcpy and memcmp.
  const char* const text = name == NULL ? "" : name;
  return document->caseSensitive ? qvini_Whole(text) : qvini_TrimmedText(text);
}

qvini_Section* qvini_FindSection(IniDocument* document, qvini_Range name) {
  const qvini_Comparison comparison = ComparisonOf(document);
  qvini_Section* const last = document->lastSection;
  if (last != NULL && qvini_HasName(last, name, comparison == kInAnyCase)) return last;
  qvini_Section* const found = qvini_Find(document->sections, name, comparison);
  if (found != NULL) document->lastSection = found;
  return found;
}

qvini_Entry* qvini_FindEntry(const IniDocument* document, qvini_Section* section,
                             qvini_Range name) {
  return qvini_Find(&section->entries, name, ComparisonOf(document));
}
