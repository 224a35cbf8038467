/// Ordered lists of named items, with positions counted from 1 and look-up by name.
#pragma once

#include <stddef.h>

#include "qvini/nameHash.h"
#include "qvini/nameIndex.h"

#ifdef __cplusplus
extern "C" {
#endif

/// How names are compared.
typedef enum qvini_Comparison {
  /// In any case of ASCII letters.
  kInAnyCase,
  /// Every byte counts.
  kExactly,
  kComparisonCount,
} qvini_Comparison;

/// The items belong to whoever put them in; each begins with a char* to its name, which has no
/// white space around it. Long lists are searched through an index for each comparison that is
/// asked for.
typedef struct qvini_List {
  void** items;
  size_t count;
  size_t room;
  qvini_HashKey key;
  qvini_NameIndex* indexes[kComparisonCount];
} qvini_List;

/// Makes an empty list of uninitialized memory.
void qvini_InitList(qvini_List* list, const qvini_HashKey* key);

/// Makes the list empty and frees what it took, but not the items.
void qvini_ClearList(qvini_List* list);

/// Adds an item at the end: 1, or 0 when the list could not grow.
int qvini_Append(qvini_List* list, void* item);

/// The item at a position, or null where there is none.
void* qvini_ItemAt(const qvini_List* list, size_t position);

/// The first item of this name, or null.
void* qvini_Find(qvini_List* list, qvini_Range name, qvini_Comparison comparison);

/// Takes the items from a position on out of the list, and declares that those that stay, up to
/// there, may have been moved or renamed.
void qvini_Rearranged(qvini_List* list, size_t count);

#ifdef __cplusplus
}
#endif
