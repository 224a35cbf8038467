/// Documents from and to open files.
#pragma once

#include "qvini/qvini.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Reads a file from the descriptor's position on, after a look at its byte order mark: 0,
/// kIniUnknownEncoding, and the document is as it was, or another failure of IniRead.
int qvini_IniReadFromFileHelper(IniDocument* document, int descriptor);

/// Writes the document at the descriptor's position: 0, kIniFlushFailed or another failure of
/// IniWrite.
int qvini_IniWriteToFileHelper(IniDocument* document, int descriptor);

#ifdef __cplusplus
}
#endif
