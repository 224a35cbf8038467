/// Entries that carry pieces of a value too long for one line: their names end in " Line" and a
/// number.
#pragma once

#include <stddef.h>

#include "qvini/items.h"
#include "qvini/qvini.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Stands between the name of the value and the number of the piece.
extern const char kContinuationMark[];

/// Whether name is that of a continuation item: 1, the length of its base name and its number; or
/// 0, and nothing stored.
int AnalyzeItemName(const char* name, size_t* baseLength, unsigned* number);

/// Whether an entry begins a run of pieces: 1, and the length of its base name; or 0.
int qvini_IsFirstPiece(const qvini_Entry* entry, size_t* baseLength);

/// Joins the pieces of long values in all sections that have some. A run begins with a number 1 and
/// takes all continuation items of other numbers that follow: their values, in this order, are the
/// value of the base name. 0, or kIniOutOfMemory, and only some are joined.
int qvini_JoinLongValues(IniDocument* document);

#ifdef __cplusplus
}
#endif
