#include "qvini/continuation.h"

#include <stdlib.h>
#include <string.h>

#include "qvini/numbers.h"
#include "qvini/toolbox.h"

const char kContinuationMark[] = " Line";

int AnalyzeItemName(const char* name, size_t* baseLength, unsigned* number) {
  const size_t markLength = strlen(kContinuationMark);
  const size_t length = name == NULL ? 0 : strlen(name);
  size_t digits = length;
  while (digits > 0 && qvini_IsDigit(name[digits - 1]))
    --digits;
  if (digits == length || digits < markLength) return 0;
  const size_t base = digits - markLength;
  if (memcmp(name + base, kContinuationMark, markLength) != 0) return 0;

  unsigned value = 0;
  int negative = 0;
  if (!ConvertNumStrToUint(name + digits, &value, &negative)) return 0;
  *baseLength = base;
  *number = value;
  return 1;
}

int qvini_IsFirstPiece(const qvini_Entry* entry, size_t* baseLength) {
  unsigned number = 0;
  return AnalyzeItemName(entry->name, baseLength, &number) && number == 1;
}

static int IsLaterPiece(const qvini_Entry* entry) {
  size_t baseLength = 0;
  unsigned number = 0;
  return AnalyzeItemName(entry->name, &baseLength, &number) && number != 1;
}

// How many entries, from position on, are later pieces.
static size_t CountLaterPieces(const qvini_List* entries, size_t position) {
  size_t count = 0;
  while (position + count <= entries->count &&
         IsLaterPiece(qvini_ItemAt(entries, position + count)))
    ++count;
  return count;
}

// The values of count entries from position on, one behind the other, for the caller to free.
static char* Concatenate(const qvini_List* entries, size_t position, size_t count) {
  size_t length = 0;
  for (size_t i = 0; i < count; ++i) {
    const qvini_Entry* const entry = qvini_ItemAt(entries, position + i);
    length += strlen(entry->value);
  }
  char* const value = malloc(length + 1);
  if (value == NULL) return NULL;
  char* end = value;
  for (size_t i = 0; i < count; ++i) {
    const qvini_Entry* const entry = qvini_ItemAt(entries, position + i);
    const size_t pieceLength = strlen(entry->value);
    memcpy(end, entry->value, pieceLength);
    end += pieceLength;
  }
  *end = '\0';
  return value;
}

// Puts the entry of the base name in the place of the entry at position and the pieces behind it.
static int JoinRun(const qvini_List* entries, size_t position, size_t count, size_t baseLength) {
  const qvini_Entry* const first = qvini_ItemAt(entries, position);
  const qvini_Range base = {first->name, baseLength};
  char* const value = Concatenate(entries, position, count);
  qvini_Entry* const joined =
      value == NULL
          ? NULL
          : qvini_NewEntry(qvini_Trimmed(base), qvini_Whole(value), first->quote, first->line);
  free(value);
  if (joined == NULL) return kIniOutOfMemory;
  for (size_t i = 0; i < count; ++i)
    qvini_DisposeEntry(qvini_ItemAt(entries, position + i));
  entries->items[position - 1] = joined;
  return kIniDone;
}

// Goes through the entries once; those that stay move up to where the removed ones were.
static int JoinInSection(qvini_List* entries) {
  int result = kIniDone;
  size_t kept = 0;
  size_t position = 1;
  while (position <= entries->count) {
    size_t count = 1;
    size_t baseLength = 0;
    if (result == kIniDone && qvini_IsFirstPiece(qvini_ItemAt(entries, position), &baseLength)) {
      const size_t run = 1 + CountLaterPieces(entries, position + 1);
      result = JoinRun(entries, position, run, baseLength);
      if (result == kIniDone) count = run;
    }
    // Without memory for a run its entries all stay, so that nothing is lost to the owner's
    // clean-up.
    entries->items[kept++] = entries->items[position - 1];
    position += count;
  }
  qvini_Rearranged(entries, kept);
  return result;
}

int qvini_JoinLongValues(IniDocument* document) {
  int result = kIniDone;
  for (size_t i = 1; i <= document->sections->count && result == kIniDone; ++i) {
    qvini_Section* const section = qvini_ItemAt(document->sections, i);
    if (section->hasPieces) result = JoinInSection(&section->entries);
  }
  return result;
}
