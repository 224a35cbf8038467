#include "qvini/items.h"

#include <stdlib.h>

#include "qvini/toolbox.h"

const char kNullSectionName[] = "(null)";

// Makes an entry of a name to trim and a value to take as it is.
static qvini_Entry* NewEntry(const char* name, qvini_Range value, char quote, int line) {
  qvini_Entry* const entry = malloc(sizeof(*entry));
  if (entry == NULL) return NULL;
  entry->name = qvini_StrDupWithoutSurrWhiteSpace(name);
  entry->value = entry->name == NULL ? NULL : qvini_Copy(value);
  entry->line = line;
  entry->quote = quote;
  if (entry->value != NULL) return entry;
  qvini_DisposeEntry(entry);
  return NULL;
}

qvini_Entry* qvini_NewEntry(const char* name, const char* value, char quote, int line) {
  return NewEntry(name, qvini_TrimmedText(value), quote, line);
}

static int StandsIn(qvini_Range value, char quote) {
  return value.length >= 2 && value.begin[0] == quote && value.begin[value.length - 1] == quote;
}

qvini_Entry* IniNewEntryHandleQuotes(unsigned readFlags, const char* name, const char* value,
                                     int line) {
  qvini_Range range = qvini_TrimmedText(value);
  char quote = kIniUnquoted;
  if ((readFlags & kIniReadDoubleQuotes) != 0 && StandsIn(range, kIniDoubleQuote)) {
    quote = kIniDoubleQuote;
  } else if ((readFlags & kIniReadSingleQuotes) != 0 && StandsIn(range, kIniSingleQuote)) {
    quote = kIniSingleQuote;
  }
  if (quote != kIniUnquoted) {
    ++range.begin;
    range.length -= 2;
  }
  return NewEntry(name, range, quote, line);
}

void qvini_DisposeEntry(qvini_Entry* entry) {
  if (entry == NULL) return;
  free(entry->name);
  free(entry->value);
  free(entry);
}

void qvini_TakeValue(qvini_Entry* entry, qvini_Entry* other) {
  char* const former = entry->value;
  entry->value = other->value;
  entry->quote = other->quote;
  other->value = former;
  qvini_DisposeEntry(other);
}

qvini_Section* qvini_NewSection(const IniDocument* document, const char* name, int line) {
  qvini_Section* const section = malloc(sizeof(*section));
  if (section == NULL) return NULL;
  section->name = qvini_StrDupWithoutSurrWhiteSpace(name);
  qvini_InitList(&section->entries, &document->sections->key);
  section->flags = document->sectionFlags;
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

static int IsNameOf(const qvini_Section* section, const char* name, qvini_Comparison comparison) {
  return comparison == kExactly ? qvini_EqualExactly(qvini_Whole(section->name), qvini_Whole(name))
                                : qvini_StrICmpWithoutSurrWhiteSpace(section->name, name) == 0;
}

qvini_Section* qvini_FindSection(IniDocument* document, const char* name) {
  const qvini_Comparison comparison = ComparisonOf(document);
  qvini_Section* const last = document->lastSection;
  if (last != NULL && IsNameOf(last, name, comparison)) return last;
  qvini_Section* const found = qvini_Find(document->sections, name, comparison);
  if (found != NULL) document->lastSection = found;
  return found;
}

qvini_Entry* qvini_FindEntry(const IniDocument* document, qvini_Section* section,
                             const char* name) {
  return qvini_Find(&section->entries, name, ComparisonOf(document));
}
