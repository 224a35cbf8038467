#include "qvini/qvini.h"

#include <limits.h>
#include <stdlib.h>

#include "qvini/items.h"
#include "qvini/toolbox.h"

static int MakeParts(IniDocument* document) {
  document->sections = malloc(sizeof(*document->sections));
  document->path = qvini_Copy(qvini_Whole(""));
  if (document->sections == NULL || document->path == NULL) return 0;
  const qvini_HashKey key = qvini_NewHashKey();
  qvini_InitList(document->sections, &key);
  return SetStringCacheSize(&document->stringCache, 0) == kIniDone;
}

static void FreeParts(IniDocument* document) {
  free(document->sections);
  free(document->path);
  free(document->stringCache.bytes);
  free(document);
}

IniDocument* IniNew(int reserved) {
  if (reserved != 0) return NULL;
  IniDocument* const document = malloc(sizeof(*document));
  if (document == NULL) return NULL;
  const IniDocument fresh = {
      .mergeDuplicates = 1,
      .lastLine = kIniNoLine,
      .maxLineLength = 80,
      .writeFlags = kIniWriteSafely | kIniWriteUniqueName | kIniWriteBlanksAroundEquals,
      .readFlags = kIniReadDoubleQuotes,
      .firstBadLine = kIniNoLine,
  };
  *document = fresh;
  if (MakeParts(document)) return document;
  FreeParts(document);
  return NULL;
}

void IniDispose(IniDocument* document) {
  if (document == NULL) return;
  qvini_Empty(document);
  FreeParts(document);
}

// Gives section the value of key, or leaves everything as it was.
static int PutIntoSection(const IniDocument* document, qvini_Section* section, const char* key,
                          const char* value, char quote) {
  const qvini_Range text = qvini_TrimmedText(value);
  qvini_Entry* const present =
      document->mergeDuplicates
          ? qvini_FindEntry(document, section, qvini_WantedName(document, key))
          : NULL;
  if (present != NULL) return qvini_SetValue(present, text, quote) ? kIniFound : kIniOutOfMemory;
  qvini_Entry* const entry = qvini_NewEntry(qvini_TrimmedText(key), text, quote, kIniNoLine);
  if (entry == NULL) return kIniOutOfMemory;
  if (qvini_Append(&section->entries, entry)) return kIniFound;
  qvini_DisposeEntry(entry);
  return kIniMissing;
}

// The section joins the document only when all else has succeeded.
static int PutIntoNewSection(IniDocument* document, const char* name, const char* key,
                             const char* value, char quote) {
  qvini_Section* const section = qvini_NewSection(document, name, kIniNoLine);
  if (section == NULL) return kIniOutOfMemory;
  int result = PutIntoSection(document, section, key, value, quote);
  if (result == kIniFound && !qvini_Append(document->sections, section)) result = kIniMissing;
  if (result != kIniFound) qvini_DisposeSection(section);
  return result;
}

int IniPut(IniDocument* document, const char* section, const char* key, const char* value,
           char quote) {
  if (document == NULL) return kIniBadPath;
  if (qvini_TrimmedText(section).length == 0) return kIniEmptyName;
  if (qvini_TrimmedText(key).length == 0) return kIniEmptyName;
  qvini_Section* const present = qvini_FindSection(document, qvini_WantedName(document, section));
  return present != NULL ? PutIntoSection(document, present, key, value, quote)
                         : PutIntoNewSection(document, section, key, value, quote);
}

static qvini_Section* FindSection(IniDocument* document, const char* name) {
  return document == NULL ? NULL : qvini_FindSection(document, qvini_WantedName(document, name));
}

static qvini_Entry* FindItem(IniDocument* document, const char* section, const char* key) {
  qvini_Section* const home = FindSection(document, section);
  return home == NULL ? NULL : qvini_FindEntry(document, home, qvini_WantedName(document, key));
}

int IniGet(IniDocument* document, const char* section, const char* key, const char** value) {
  const qvini_Entry* const entry = FindItem(document, section, key);
  if (entry == NULL) return kIniMissing;
  document->lastLine = entry->line;
  if (value != NULL) *value = entry->value;
  return kIniFound;
}

int IniItemExists(IniDocument* document, const char* section, const char* key) {
  return FindItem(document, section, key) == NULL ? kIniMissing : kIniFound;
}

int IniNumberOfItems(IniDocument* document, const char* section) {
  const qvini_Section* const home = FindSection(document, section);
  if (home == NULL) return 0;
  return home->entries.count > INT_MAX ? INT_MAX : (int)home->entries.count;
}

int IniNthItemName(IniDocument* document, const char* section, int n, const char** name) {
  const qvini_Section* const home = FindSection(document, section);
  if (home == NULL || n < 1) return kIniMissing;
  const qvini_Entry* const entry = qvini_ItemAt(&home->entries, (size_t)n);
  if (entry == NULL) return kIniMissing;
  if (name != NULL) *name = entry->name;
  return kIniFound;
}
