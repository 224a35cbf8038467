/// Lines from and to open files.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
  kSourceBlockSize = 2084,
  kSinkBlockSize = 4096,
};

/// Where IniLineFileInputFunction reads: a descriptor, which stays the caller's.
typedef struct qvini_FileSource {
  int descriptor;
  char block[kSourceBlockSize];
  /// Bytes in the block, and how many of them are used up.
  size_t length;
  size_t position;
  /// Nothing more is to be read: the end, or a failure.
  int ended;
  int failed;
  /// The byte that, if it comes next, still belongs to the last line end; -1 when none does.
  int partner;
} qvini_FileSource;

/// Where IniLineFileOutputFunction writes: a descriptor, which stays the caller's.
typedef struct qvini_FileSink {
  int descriptor;
  char block[kSinkBlockSize];
  size_t length;
} qvini_FileSink;

/// Begins at the descriptor's position.
void qvini_InitFileSource(qvini_FileSource* source, int descriptor);

/// Looks at the byte order mark that the source may begin with: 0, and that of UTF-8 is skipped, or
/// kIniUnknownEncoding for those of UTF-16 and UTF-32. To be called before the first line.
int qvini_CheckEncoding(qvini_FileSource* source);

/// An IniLineInputFunction; kIniReadFailed. LF, CR, NUL and the pairs CR LF and LF CR end a line.
int IniLineFileInputFunction(void* source, char* buffer, size_t size);

void qvini_InitFileSink(qvini_FileSink* sink, int descriptor);

/// Adds bytes: 0, or kIniFlushFailed.
int qvini_PutBytes(qvini_FileSink* sink, const char* bytes, size_t length);

/// An IniLineOutputFunction: the line and an LF; kIniFlushFailed.
int IniLineFileOutputFunction(void* sink, const char* line);

/// Hands all bytes to the system: 0, or kIniFlushFailed.
int qvini_Flush(qvini_FileSink* sink);

#ifdef __cplusplus
}
#endif
