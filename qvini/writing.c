#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qvini/continuation.h"
#include "qvini/items.h"
#include "qvini/qvini.h"
#include "qvini/textBuffer.h"
#include "qvini/toolbox.h"

enum {
  // " Line", four digits and " = ", whichever separator is written.
  kContinuationLength = 12,
  kQuotesLength = 2,
  // Room for the number of a piece as text.
  kNumberSize = 24,
};

typedef struct Writing {
  const IniDocument* document;
  IniLineOutputFunction output;
  void* sink;
  const char* separator;
  // The line being made.
  qvini_TextBuffer line;
} Writing;

static int Put(Writing* writing, const char* line) {
  const int result = writing->output(writing->sink, line);
  return result < 0 ? result : kIniDone;
}

// Writes a line of parts; the list ends with a part that begins nowhere.
static int PutParts(Writing* writing, const qvini_Range* parts) {
  writing->line.length = 0;
  for (; parts->begin != NULL; ++parts) {
    if (!qvini_AddText(&writing->line, *parts)) return kIniOutOfMemory;
  }
  writing->line.bytes[writing->line.length] = '\0';
  return Put(writing, writing->line.bytes);
}

static int PutHeader(Writing* writing, const char* name) {
  const qvini_Range parts[] = {qvini_Whole("["), qvini_Whole(name), qvini_Whole("]"),
                               qvini_Whole(NULL)};
  return PutParts(writing, parts);
}

static int PutOnOneLine(Writing* writing, const qvini_Entry* entry) {
  const qvini_Range quote = {&entry->quote, entry->quote == 0 ? 0 : 1};
  const qvini_Range parts[] = {qvini_Whole(entry->name),
                               qvini_Whole(writing->separator),
                               quote,
                               qvini_Whole(entry->value),
                               quote,
                               qvini_Whole(NULL)};
  return PutParts(writing, parts);
}

static int PutPiece(Writing* writing, const qvini_Entry* entry, size_t number, qvini_Range piece) {
  char digits[kNumberSize];
  snprintf(digits, sizeof(digits), "%04zu", number);
  const qvini_Range quote = {&entry->quote, entry->quote == 0 ? 0 : 1};
  const qvini_Range parts[] = {qvini_Whole(entry->name),
                               qvini_Whole(kContinuationMark),
                               qvini_Whole(digits),
                               qvini_Whole(writing->separator),
                               quote,
                               piece,
                               quote,
                               qvini_Whole(NULL)};
  return PutParts(writing, parts);
}

// How much of rest goes into the next piece; 0 when it cannot be cut.
static size_t PieceLength(qvini_Range rest, size_t room, char breakChar) {
  if (rest.length <= room) return rest.length;
  if (breakChar == 0) return room;
  size_t length = room;
  while (length > 0 && rest.begin[length - 1] != breakChar)
    --length;
  return length;
}

static int PutWrapped(Writing* writing, const qvini_Entry* entry) {
  const size_t taken =
      strlen(entry->name) + kContinuationLength + (entry->quote == 0 ? 0 : (size_t)kQuotesLength);
  if (taken >= writing->document->maxLineLength) return kIniCannotWrap;
  const size_t room = writing->document->maxLineLength - taken;
  qvini_Range rest = qvini_Whole(entry->value);
  for (size_t number = 1; rest.length > 0; ++number) {
    const qvini_Range piece = {rest.begin,
                               PieceLength(rest, room, writing->document->wrapBreakChar)};
    if (piece.length == 0) return kIniCannotWrap;
    const int result = PutPiece(writing, entry, number, piece);
    if (result != kIniDone) return result;
    rest.begin += piece.length;
    rest.length -= piece.length;
  }
  return kIniDone;
}

static int Fits(const Writing* writing, const qvini_Entry* entry) {
  const unsigned most = writing->document->maxLineLength;
  if (most == kIniNoLineLimit) return 1;
  const size_t length = strlen(entry->name) + strlen(writing->separator) + strlen(entry->value) +
                        (entry->quote == 0 ? 0 : (size_t)kQuotesLength);
  return length <= most;
}

static int PutEntry(Writing* writing, const qvini_Entry* entry) {
  return Fits(writing, entry) ? PutOnOneLine(writing, entry) : PutWrapped(writing, entry);
}

static int IsFromFile(const qvini_Section* section) {
  return section->line != kIniNoLine;
}

static int PutSection(Writing* writing, const qvini_Section* section,
                      const qvini_Section* previous) {
  const int few = (writing->document->writeFlags & kIniWriteFewEmptyLines) != 0;
  const int hasHeader = strcmp(section->name, kNullSectionName) != 0;
  int result = kIniDone;
  if (few && !IsFromFile(section) && previous != NULL && IsFromFile(previous))
    result = Put(writing, "");
  if (result == kIniDone && hasHeader) result = PutHeader(writing, section->name);
  for (size_t i = 1; i <= section->entries.count && result == kIniDone; ++i)
    result = PutEntry(writing, qvini_ItemAt(&section->entries, i));
  if (result == kIniDone && !(few && (IsFromFile(section) || !hasHeader)))
    result = Put(writing, "");
  return result;
}

int IniWrite(IniDocument* document, IniLineOutputFunction output, void* sink) {
  if (document == NULL || output == NULL) return kIniBadPath;
  Writing writing = {document, output, sink, "=", {NULL, 0, 0}};
  if ((document->writeFlags & kIniWriteBlanksAroundEquals) != 0) writing.separator = " = ";
  if (!qvini_InitTextBuffer(&writing.line)) return kIniOutOfMemory;
  int result = kIniDone;
  for (size_t i = 1; i <= document->sections->count && result == kIniDone; ++i) {
    result = PutSection(&writing, qvini_ItemAt(document->sections, i),
                        qvini_ItemAt(document->sections, i - 1));
  }
  free(writing.line.bytes);
  return result;
}
