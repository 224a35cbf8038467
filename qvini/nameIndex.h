/// Finds the first item of a name in a list that only grows.
#pragma once

#include <stddef.h>

#include "qvini/nameHash.h"
#include "qvini/toolbox.h"

#ifdef __cplusplus
extern "C" {
#endif

/// A hash table of the names in a list. It learns of new items when it is next asked.
typedef struct qvini_NameIndex qvini_NameIndex;

// Inline, for every look-up ends here.

/// The name of an item; every item of a list begins with it.
static inline qvini_Range qvini_NameOf(const void* item) {
  return qvini_Whole(*(char* const*)item);
}

/// Whether an item has this name, exactly or in any case.
static inline int qvini_HasName(const void* item, qvini_Range wanted, int inAnyCase) {
  const qvini_Range name = qvini_NameOf(item);
  return inAnyCase ? qvini_EqualInAnyCase(name, wanted) : qvini_EqualExactly(name, wanted);
}

/// An empty index, or null when there is no memory. With inAnyCase, ASCII letters of either case
/// are the same.
qvini_NameIndex* qvini_NewNameIndex(const qvini_HashKey* key, int inAnyCase);

/// Frees an index. Null is allowed.
void qvini_DisposeNameIndex(qvini_NameIndex* index);

/// Finds the first of the count items that has this name: 1 and the item, or null when there is
/// none. 0 when there was no memory to take new items into the index, which has to be searched for
/// them by other means then. The items of earlier calls must be there, in the same places and with
/// the same names.
int qvini_IndexFind(qvini_NameIndex* index, void* const* items, size_t count, qvini_Range name,
                    void** found);

#ifdef __cplusplus
}
#endif
