#include "qvini/fileNames.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "qvini/interrupted.h"
#include "qvini/toolbox.h"

enum {
  // As many as the system itself follows.
  kMostLinks = 40,
  kFirstLinkSize = 256,
};

// The directory of path, up to and including its last "/"; empty where there is none.
static qvini_Range DirectoryPart(const char* path) {
  const char* const slash = strrchr(path, '/');
  const qvini_Range directory = {path, slash == NULL ? 0 : (size_t)(slash - path) + 1};
  return directory;
}

static char* Concatenated(qvini_Range first, const char* second) {
  const size_t length = strlen(second);
  char* const result = malloc(first.length + length + 1);
  if (result == NULL) return NULL;
  memcpy(result, first.begin, first.length);
  memcpy(result + first.length, second, length + 1);
  return result;
}

char* qvini_DirectoryOf(const char* path) {
  const qvini_Range directory = DirectoryPart(path);
  return qvini_Copy(directory.length == 0 ? qvini_Whole(".") : directory);
}

char* qvini_UniqueNameTemplate(const char* path) {
  return Concatenated(DirectoryPart(path), "ini$$.TMPXXXXXX");
}

char* qvini_NameWithExtensionTmp(const char* path) {
  const char* const name = path + DirectoryPart(path).length;
  const char* const point = strrchr(name, '.');
  if (point == NULL || strcmp(point, ".TMP") == 0) return Concatenated(qvini_Whole(path), ".TMP");
  const qvini_Range stem = {path, (size_t)(point - path)};
  return Concatenated(stem, ".TMP");
}

// The text of a symbolic link, for the caller to free. Null when path is none, or for want of
// memory, which isOutOfMemory tells apart.
static char* ReadLink(const char* path, int* isOutOfMemory) {
  size_t size = kFirstLinkSize;
  char* text = NULL;
  *isOutOfMemory = 0;
  for (;;) {
    char* const larger = realloc(text, size);
    if (larger == NULL) {
      *isOutOfMemory = 1;
      break;
    }
    text = larger;
    ssize_t length = 0;
    do {
      length = readlink(path, text, size);
    } while (qvini_WasInterrupted(length));
    if (length < 0) break;
    if ((size_t)length < size) {
      text[length] = '\0';
      return text;
    }
    size *= 2;
  }
  free(text);
  return NULL;
}

// Where a link at path with this text leads.
static char* Follow(const char* path, const char* text) {
  return *text == '/' ? qvini_Copy(qvini_Whole(text)) : Concatenated(DirectoryPart(path), text);
}

char* qvini_FollowLinks(const char* path) {
  char* current = qvini_Copy(qvini_Whole(path));
  for (int i = 0; i < kMostLinks && current != NULL; ++i) {
    int isOutOfMemory = 0;
    char* const text = ReadLink(current, &isOutOfMemory);
    if (text == NULL && !isOutOfMemory) break;
    char* const next = text == NULL ? NULL : Follow(current, text);
    free(text);
    free(current);
    current = next;
  }
  return current;
}
