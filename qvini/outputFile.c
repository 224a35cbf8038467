#include "qvini/outputFile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qvini/fileNames.h"
#include "qvini/qvini.h"

enum {
  kNoDescriptor = -1,
  // What fopen() gives a new file, before the umask.
  kNewFileMode = 0666,
  kPrivateMode = 0600,
  kUniqueFileMode = 0644,
  kPermissions = 07777,
};

static int Open(const char* path, int flags, mode_t mode) {
  int descriptor = kNoDescriptor;
  do {
    descriptor = open(path, flags | O_CLOEXEC, mode);
  } while (descriptor == -1 && errno == EINTR);
  return descriptor;
}

// An interrupted close has closed the file all the same.
static int Close(int descriptor) {
  return close(descriptor) == 0 || errno == EINTR;
}

static int Rename(const char* from, const char* to) {
  int result = 0;
  do {
    result = rename(from, to);
  } while (result == -1 && errno == EINTR);
  return result == 0;
}

// Waits for the disk. File systems that cannot be waited for are taken as they are.
static int Sync(int descriptor) {
  int result = 0;
  do {
    result = fsync(descriptor);
  } while (result == -1 && errno == EINTR);
  return result == 0 || errno == EINVAL || errno == ENOTSUP;
}

// Whether a file of this name can be created; it is gone afterwards.
static int CanBeCreated(const char* path) {
  const int descriptor = Open(path, O_WRONLY | O_CREAT | O_EXCL, kNewFileMode);
  if (descriptor == -1) return 0;
  const int closed = Close(descriptor);
  return unlink(path) == 0 && closed;
}

static int CanBeUpdated(const char* path) {
  const int descriptor = Open(path, O_RDWR, 0);
  return descriptor != -1 && Close(descriptor);
}

// Whether the target can be written, and the permissions that it has if it exists. A device, a pipe
// or a directory must not be replaced by a file.
static int Probe(qvini_OutputFile* file) {
  struct stat entry;
  if (stat(file->target, &entry) != 0) {
    if (errno != ENOENT) return 0;
    if (CanBeCreated(file->target)) return 1;
    // Somebody else may have been faster: then there is a file to keep.
    if (errno != EEXIST || stat(file->target, &entry) != 0) return 0;
  }
  if (!S_ISREG(entry.st_mode)) return 0;
  file->changesMode = 1;
  file->mode = entry.st_mode & kPermissions;
  return CanBeUpdated(file->target);
}

// What is written is nobody else's to read until it has its permissions.
static int OpenUniqueFile(qvini_OutputFile* file) {
  if (!file->changesMode) {
    file->changesMode = 1;
    file->mode = kUniqueFileMode;
  }
  file->temporary = qvini_UniqueNameTemplate(file->target);
  if (file->temporary == NULL) return kIniOutOfMemory;
  do {
    file->descriptor = mkstemp(file->temporary);
  } while (file->descriptor == -1 && errno == EINTR);
  if (file->descriptor == -1) return kIniTemporaryFileFailed;
  // Only a program that this one starts meanwhile would notice a failure.
  (void)fcntl(file->descriptor, F_SETFD, FD_CLOEXEC);
  return kIniDone;
}

// What has the name already was left behind by a writer that did not finish. It goes, for writing
// through a link of that name would destroy something else.
static int OpenNamedFile(qvini_OutputFile* file) {
  file->temporary = qvini_NameWithExtensionTmp(file->target);
  if (file->temporary == NULL) return kIniOutOfMemory;
  (void)unlink(file->temporary);
  file->descriptor = Open(file->temporary, O_WRONLY | O_CREAT | O_EXCL,
                          file->changesMode ? kPrivateMode : kNewFileMode);
  return file->descriptor == -1 ? kIniOpenForWritingFailed : kIniDone;
}

static void FreeNames(qvini_OutputFile* file) {
  free(file->target);
  free(file->temporary);
}

static int OpenTemporaryFile(qvini_OutputFile* file, const char* path, int hasUniqueName) {
  file->target = qvini_FollowLinks(path);
  if (file->target == NULL) return kIniOutOfMemory;
  if (!Probe(file)) return kIniNotWritable;
  return hasUniqueName ? OpenUniqueFile(file) : OpenNamedFile(file);
}

int qvini_OpenOutputFile(qvini_OutputFile* file, const char* path, unsigned writeFlags) {
  const qvini_OutputFile fresh = {NULL, NULL, kNoDescriptor, 0, 0};
  *file = fresh;
  if ((writeFlags & kIniWriteSafely) == 0) {
    file->descriptor = Open(path, O_WRONLY | O_CREAT | O_TRUNC, kNewFileMode);
    return file->descriptor == -1 ? kIniOpenForWritingFailed : kIniDone;
  }
  const int result = OpenTemporaryFile(file, path, (writeFlags & kIniWriteUniqueName) != 0);
  if (result != kIniDone) FreeNames(file);
  return result;
}

// Gives the file its permissions and sends it to the disk.
static int Complete(const qvini_OutputFile* file) {
  if (file->temporary == NULL) return kIniDone;
  if (file->changesMode && fchmod(file->descriptor, file->mode) != 0)
    return kIniTemporaryFileFailed;
  return Sync(file->descriptor) ? kIniDone : kIniFlushFailed;
}

static time_t ModificationTimeOf(int descriptor) {
  struct stat entry;
  return fstat(descriptor, &entry) == 0 ? entry.st_mtime : 0;
}

// The new name is safe from a power failure only when the directory is on the disk. By now the
// target has its new content: a failure changes nothing any more.
static void SyncDirectoryOf(const char* path) {
  char* const directory = qvini_DirectoryOf(path);
  if (directory == NULL) return;
  const int descriptor = Open(directory, O_RDONLY, 0);
  free(directory);
  if (descriptor == -1) return;
  (void)Sync(descriptor);
  (void)Close(descriptor);
}

static int Replace(const qvini_OutputFile* file) {
  if (file->temporary == NULL) return kIniDone;
  if (!Rename(file->temporary, file->target)) return kIniNotWritable;
  SyncDirectoryOf(file->target);
  return kIniDone;
}

int qvini_FinishOutputFile(qvini_OutputFile* file, int result, time_t* modificationTime) {
  if (result == kIniDone) result = Complete(file);
  const time_t time = ModificationTimeOf(file->descriptor);
  if (!Close(file->descriptor) && result == kIniDone) result = kIniFlushFailed;
  if (result == kIniDone) result = Replace(file);
  if (result == kIniDone) {
    *modificationTime = time;
  } else if (file->temporary != NULL) {
    (void)unlink(file->temporary);
  }
  FreeNames(file);
  return result;
}
