#include "qvini/nameIndex.h"

#include <stdlib.h>
#include <string.h>

enum {
  kFirstSlotCount = 32,
  // Of a name that is remembered, in bytes.
  kRememberedLength = 32,
};

// Free without an item. The hash value saves most comparisons of names, and computing it anew when
// the table grows.
typedef struct Slot {
  void* item;
  size_t hash;
} Slot;

struct qvini_NameIndex {
  qvini_HashKey key;
  int inAnyCase;
  // Open addressing; the number of slots is a power of two. Of items with the same name only the
  // first has a slot, so that any number of duplicates costs nothing.
  Slot* slots;
  size_t slotCount;
  size_t usedSlots;
  size_t knownItems;
  // The name that was last looked for in vain, with its hash value. Whoever misses a name often
  // adds it next, and to compute the value twice would be most of what the index takes of that.
  char missedName[kRememberedLength];
  size_t missedLength;
  size_t missedHash;
};

qvini_NameIndex* qvini_NewNameIndex(const qvini_HashKey* key, int inAnyCase) {
  qvini_NameIndex* const index = malloc(sizeof(*index));
  if (index == NULL) return NULL;
  index->key = *key;
  index->inAnyCase = inAnyCase;
  index->slots = NULL;
  index->slotCount = 0;
  index->usedSlots = 0;
  index->knownItems = 0;
  index->missedLength = SIZE_MAX;
  return index;
}

void qvini_DisposeNameIndex(qvini_NameIndex* index) {
  if (index == NULL) return;
  free(index->slots);
  free(index);
}

// The slot that holds the name, or the free one where it belongs.
static inline Slot* FindSlot(const qvini_NameIndex* index, qvini_Range name, size_t hash) {
  const size_t mask = index->slotCount - 1;
  size_t i = hash & mask;
  for (;; i = (i + 1) & mask) {
    Slot* const slot = &index->slots[i];
    if (slot->item == NULL) return slot;
    if (slot->hash == hash && qvini_HasName(slot->item, name, index->inAnyCase)) return slot;
  }
}

static Slot* NewSlots(size_t count) {
  if (count > SIZE_MAX / sizeof(Slot)) return NULL;
  Slot* const slots = malloc(count * sizeof(Slot));
  if (slots != NULL) memset(slots, 0, count * sizeof(Slot));
  return slots;
}

static void PutIntoFreeSlot(qvini_NameIndex* index, Slot used) {
  const size_t mask = index->slotCount - 1;
  size_t i = used.hash & mask;
  while (index->slots[i].item != NULL)
    i = (i + 1) & mask;
  index->slots[i] = used;
}

// Makes sure that a quarter of the slots stays free when one more is taken.
static int MakeRoom(qvini_NameIndex* index) {
  if (index->usedSlots < index->slotCount / 4 * 3) return 1;
  if (index->slotCount > SIZE_MAX / 2) return 0;
  const size_t count = index->slotCount == 0 ? kFirstSlotCount : index->slotCount * 2;
  Slot* const former = index->slots;
  const size_t formerCount = index->slotCount;
  Slot* const slots = NewSlots(count);
  if (slots == NULL) return 0;

  index->slots = slots;
  index->slotCount = count;
  for (size_t i = 0; i < formerCount; ++i) {
    if (former[i].item != NULL) PutIntoFreeSlot(index, former[i]);
  }
  free(former);
  return 1;
}

static size_t HashOf(const qvini_NameIndex* index, qvini_Range name) {
  return (size_t)qvini_HashName(&index->key, name, index->inAnyCase);
}

static void RememberMissed(qvini_NameIndex* index, qvini_Range name, size_t hash) {
  if (name.length > kRememberedLength) return;
  memcpy(index->missedName, name.begin, name.length);
  index->missedLength = name.length;
  index->missedHash = hash;
}

static size_t HashOfNew(const qvini_NameIndex* index, qvini_Range name) {
  const int wasMissed =
      name.length == index->missedLength && memcmp(name.begin, index->missedName, name.length) == 0;
  return wasMissed ? index->missedHash : HashOf(index, name);
}

static int LearnItem(qvini_NameIndex* index, void* item) {
  if (!MakeRoom(index)) return 0;
  const qvini_Range name = qvini_NameOf(item);
  const size_t hash = HashOfNew(index, name);
  Slot* const slot = FindSlot(index, name, hash);
  if (slot->item == NULL) {
    slot->item = item;
    slot->hash = hash;
    ++index->usedSlots;
  }
  ++index->knownItems;
  return 1;
}

static int LearnItems(qvini_NameIndex* index, void* const* items, size_t count) {
  while (index->knownItems < count) {
    if (!LearnItem(index, items[index->knownItems])) return 0;
  }
  return 1;
}

int qvini_IndexFind(qvini_NameIndex* index, void* const* items, size_t count, qvini_Range name,
                    void** found) {
  if (index->knownItems < count && !LearnItems(index, items, count)) return 0;
  *found = NULL;
  if (count == 0) return 1;
  const size_t hash = HashOf(index, name);
  *found = FindSlot(index, name, hash)->item;
  if (*found == NULL) RememberMissed(index, name, hash);
  return 1;
}
