#include "qvini/fileANSI.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "qvini/interrupted.h"
#include "qvini/items.h"
#include "qvini/lineFiles.h"
#include "qvini/outputFile.h"
#include "qvini/toolbox.h"

int qvini_IniReadFromFileHelper(IniDocument* document, int descriptor) {
  qvini_FileSource source;
  qvini_InitFileSource(&source, descriptor);
  const int result = qvini_CheckEncoding(&source);
  return result == kIniDone ? IniRead(document, IniLineFileInputFunction, &source) : result;
}

int qvini_IniWriteToFileHelper(IniDocument* document, int descriptor) {
  qvini_FileSink sink;
  qvini_InitFileSink(&sink, descriptor);
  int result = kIniDone;
  if ((document->writeFlags & kIniWriteByteOrderMark) != 0)
    result = qvini_PutBytes(&sink, "\xef\xbb\xbf", 3);
  if (result == kIniDone) result = IniWrite(document, IniLineFileOutputFunction, &sink);
  return result == kIniDone ? qvini_Flush(&sink) : result;
}

// Takes over name.
static void Remember(IniDocument* document, char* name, time_t modificationTime) {
  free(document->path);
  document->path = name;
  document->modificationTime = modificationTime;
}

static int OpenForReading(const char* path) {
  int descriptor = -1;
  do {
    descriptor = open(path, O_RDONLY | O_CLOEXEC);
  } while (qvini_WasInterrupted(descriptor));
  return descriptor;
}

static int ReadAndRemember(IniDocument* document, char* name, int descriptor) {
  const int result = qvini_IniReadFromFileHelper(document, descriptor);
  if (result != kIniDone) return result;
  Remember(document, name, qvini_ModificationTimeOf(descriptor));
  return kIniDone;
}

int IniReadFromFile(IniDocument* document, const char* path) {
  if (document == NULL || path == NULL || *path == '\0') return kIniBadPath;
  const int descriptor = OpenForReading(path);
  if (descriptor == -1) return kIniOpenForReadingFailed;
  // Before anything is read, for the path may be a value of this very document.
  char* const name = qvini_Copy(qvini_Whole(path));
  const int result = name == NULL ? kIniOutOfMemory : ReadAndRemember(document, name, descriptor);
  if (result != kIniDone) free(name);
  // Nothing that was read can get lost any more.
  (void)close(descriptor);
  return result;
}

int IniWriteToFile(IniDocument* document, const char* path) {
  if (document == NULL || path == NULL || *path == '\0') return kIniBadPath;
  // First, for when the file is written nothing may fail any more.
  char* const name = qvini_Copy(qvini_Whole(path));
  if (name == NULL) return kIniOutOfMemory;
  qvini_OutputFile file;
  time_t modificationTime = 0;
  int result = qvini_OpenOutputFile(&file, path, document->writeFlags);
  if (result == kIniDone) {
    result = qvini_IniWriteToFileHelper(document, file.descriptor);
    result = qvini_FinishOutputFile(&file, result, &modificationTime);
  }
  if (result == kIniDone) {
    Remember(document, name, modificationTime);
  } else {
    free(name);
  }
  return result;
}
