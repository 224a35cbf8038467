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

/// The name of an item; every item of a list begins with it.
const char* qvini_NameOf(const void* item);

/// Whether a stored name is the wanted one, exactly or in any case.
int qvini_IsName(const char* stored, qvini_Range wanted, int inAnyCase);

/// An empty index, or null when there is no memory. With inAnyCase, ASCII letters of either case
/// are the same.
qvini_NameIndex* qvini_NewNameIndex(const qvini_HashKey* key, int inAnyCase);

/// Frees an index. Null is allowed.
void qvini_DisposeNameIndex(qvini_NameIndex* index);

/// Finds the first of the count items that has this name: 1 and its place, counted from 0, or count
/// when there is none. 0 when there was no memory to take new items into the index, which has to be
/// searched for them by other means then. The items of earlier calls must be there, in the same
/// places and with the same names.
int qvini_IndexFind(qvini_NameIndex* index, void* const* items, size_t count, qvini_Range name,
                    size_t* place);

#ifdef __cplusplus
}
#endif
