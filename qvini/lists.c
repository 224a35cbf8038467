#include "qvini/lists.h"

#include <stdlib.h>

enum {
  kFirstRoom = 4,
  // Up to here, comparing names costs less than hashing one.
  kShortList = 8,
};

void qvini_InitList(qvini_List* list, const qvini_HashKey* key) {
  list->items = NULL;
  list->count = 0;
  list->room = 0;
  list->key = *key;
  for (int i = 0; i < kComparisonCount; ++i)
    list->indexes[i] = NULL;
}

static void DropIndexes(qvini_List* list) {
  for (int i = 0; i < kComparisonCount; ++i) {
    qvini_DisposeNameIndex(list->indexes[i]);
    list->indexes[i] = NULL;
  }
}

void qvini_ClearList(qvini_List* list) {
  DropIndexes(list);
  free(list->items);
  qvini_InitList(list, &list->key);
}

static int Grow(qvini_List* list) {
  if (list->room > SIZE_MAX / 2 / sizeof(void*)) return 0;
  const size_t room = list->room == 0 ? kFirstRoom : list->room * 2;
  void** const items = realloc(list->items, room * sizeof(void*));
  if (items == NULL) return 0;
  list->items = items;
  list->room = room;
  return 1;
}

int qvini_Append(qvini_List* list, void* item) {
  if (list->count == list->room && !Grow(list)) return 0;
  list->items[list->count++] = item;
  return 1;
}

void* qvini_ItemAt(const qvini_List* list, size_t position) {
  return position >= 1 && position <= list->count ? list->items[position - 1] : NULL;
}

static void* FindByComparing(const qvini_List* list, qvini_Range name, int inAnyCase) {
  for (size_t i = 0; i < list->count; ++i) {
    if (qvini_HasName(list->items[i], name, inAnyCase)) return list->items[i];
  }
  return NULL;
}

void* qvini_Find(qvini_List* list, qvini_Range name, qvini_Comparison comparison) {
  const int inAnyCase = comparison == kInAnyCase;
  if (list->count <= kShortList) return FindByComparing(list, name, inAnyCase);

  qvini_NameIndex** const index = &list->indexes[comparison];
  if (*index == NULL) *index = qvini_NewNameIndex(&list->key, inAnyCase);
  // Without memory for the index the answer takes longer, but is the same.
  void* found = NULL;
  if (*index == NULL || !qvini_IndexFind(*index, list->items, list->count, name, &found))
    return FindByComparing(list, name, inAnyCase);
  return found;
}

void qvini_Rearranged(qvini_List* list, size_t count) {
  DropIndexes(list);
  list->count = count;
}
