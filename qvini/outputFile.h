/// The file that a document is written to: in place, or under another name until it is complete.
#pragma once

#include <sys/types.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qvini_OutputFile {
  /// The file to write, links followed; null for one that is written in place.
  char* target;
  /// What is written meanwhile; null for a file that is written in place.
  char* temporary;
  /// Open for writing.
  int descriptor;
  /// The permissions that the complete file gets, when changesMode is not 0.
  int changesMode;
  mode_t mode;
} qvini_OutputFile;

/// Opens what is to be written for path, as the write flags say: 0, and the caller must finish the
/// file; or kIniNotWritable, kIniTemporaryFileFailed, kIniOpenForWritingFailed or kIniOutOfMemory,
/// and nothing is left behind.
int qvini_OpenOutputFile(qvini_OutputFile* file, const char* path, unsigned writeFlags);

/// Closes the file. When result is 0, all was written: the temporary file goes to the disk and then
/// takes the place of the target; gives 0 and the modification time, or kIniTemporaryFileFailed,
/// kIniFlushFailed or kIniNotWritable. Otherwise gives result. A temporary file is removed on every
/// failure.
int qvini_FinishOutputFile(qvini_OutputFile* file, int result, time_t* modificationTime);

/// When the open file was changed last; 0 where the system does not tell.
time_t qvini_ModificationTimeOf(int descriptor);

#ifdef __cplusplus
}
#endif
