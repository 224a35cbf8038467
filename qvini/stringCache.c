#include <stdlib.h>

#include "qvini/qvini.h"

enum {
  kSmallestCache = 256,
  // Sizes that change by little from one string to the next do not move the cache.
  kToleratedSurplus = 1024,
};

int SetStringCacheSize(IniStringCache* cache, size_t size) {
  if (cache == NULL) return kIniBadPath;
  if (cache->bytes != NULL && cache->size >= size && cache->size - size <= kToleratedSurplus)
    return kIniDone;
  const size_t wanted = size < kSmallestCache ? kSmallestCache : size;
  char* const bytes = realloc(cache->bytes, wanted);
  if (bytes == NULL) return kIniOutOfMemory;
  cache->bytes = bytes;
  cache->size = wanted;
  return kIniDone;
}
