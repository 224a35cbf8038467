#include "qvini/outputFile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qvini/fileNames.h"
#include "qvini/interrupted.h"
#include "qvini/qvini.h"

enum {
  kNoDescriptor = -1,
  // What fopen() gives a new file, before the umask.
  kNewFileMode = 0666,
  kPrivateMode = 0600,
  kUniqueFileMode = 0644,
  kPermissions = 07777,
  // How often the target is looked at anew when somebody else makes or removes it meanwhile.
  kMostProbes = 100,
  // What mkstemp() fills in, at the end of the name.
  kBlank = 'X',
  kBlanks = 6,
};

typedef enum ProbeResult { kWritable, kNotWritable, kChangedMeanwhile } ProbeResult;

static int Open(const char* path, int flags, mode_t mode) {
  int descriptor = kNoDescriptor;
  do {
    descriptor = open(path, flags | O_CLOEXEC, mode);
  } while (qvini_WasInterrupted(descriptor));
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
  } while (qvini_WasInterrupted(result));
  return result == 0;
}

static int Unlink(const char* path) {
  int result = 0;
  do {
    result = unlink(path);
  } while (qvini_WasInterrupted(result));
  return result == 0;
}

static int LookAt(int (*look)(const char* path, struct stat* entry), const char* path,
                  struct stat* entry) {
  int result = 0;
  do {
    result = look(path, entry);
  } while (qvini_WasInterrupted(result));
  return result == 0;
}

static int LookAtOpen(int descriptor, struct stat* entry) {
  int result = 0;
  do {
    result = fstat(descriptor, entry);
  } while (qvini_WasInterrupted(result));
  return result == 0;
}

static int ChangeMode(int descriptor, mode_t mode) {
  int result = 0;
  do {
    result = fchmod(descriptor, mode);
  } while (qvini_WasInterrupted(result));
  return result == 0;
}

// Waits for the disk. File systems that cannot be waited for are taken as they are.
static int Sync(int descriptor) {
  int result = 0;
  do {
    result = fsync(descriptor);
  } while (qvini_WasInterrupted(result));
  return result == 0 || errno == EINVAL || errno == ENOTSUP;
}

// Whether the name is still that of the open file, and not of one that another writer gave it.
static int IsNameOf(const char* path, int descriptor) {
  struct stat named;
  struct stat opened;
  return LookAt(lstat, path, &named) && LookAtOpen(descriptor, &opened) &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

// Whether a file of this name can be created; it is gone afterwards.
static ProbeResult ProbeMissing(const char* path) {
  const int descriptor = Open(path, O_WRONLY | O_CREAT | O_EXCL, kNewFileMode);
  if (descriptor == -1) return errno == EEXIST ? kChangedMeanwhile : kNotWritable;
  const int gone = !IsNameOf(path, descriptor) || Unlink(path);
  return Close(descriptor) && gone ? kWritable : kNotWritable;
}

static ProbeResult ProbePresent(const char* path) {
  const int descriptor = Open(path, O_RDWR, 0);
  if (descriptor == -1) return errno == ENOENT ? kChangedMeanwhile : kNotWritable;
  return Close(descriptor) ? kWritable : kNotWritable;
}

// A device, a pipe or a directory must not be replaced by a file.
static ProbeResult ProbeOnce(qvini_OutputFile* file) {
  struct stat entry;
  file->changesMode = 0;
  if (!LookAt(stat, file->target, &entry))
    return errno == ENOENT ? ProbeMissing(file->target) : kNotWritable;
  if (!S_ISREG(entry.st_mode)) return kNotWritable;
  file->changesMode = 1;
  file->mode = entry.st_mode & kPermissions;
  return ProbePresent(file->target);
}

// Whether the target can be written, and the permissions that it has if it exists. Other writers
// may be probing it, too.
static int Probe(qvini_OutputFile* file) {
  ProbeResult result = kChangedMeanwhile;
  for (int i = 0; i < kMostProbes && result == kChangedMeanwhile; ++i)
    result = ProbeOnce(file);
  return result == kWritable;
}

// What is written is nobody else's to read until it has its permissions.
static int OpenUniqueFile(qvini_OutputFile* file) {
  if (!file->changesMode) {
    file->changesMode = 1;
    file->mode = kUniqueFileMode;
  }
  file->temporary = qvini_UniqueNameTemplate(file->target);
  if (file->temporary == NULL) return kIniOutOfMemory;
  // What is to be filled in: an attempt that was interrupted has left its name there.
  char* const blanks = file->temporary + strlen(file->temporary) - kBlanks;
  do {
    memset(blanks, kBlank, kBlanks);
    file->descriptor = mkstemp(file->temporary);
  } while (qvini_WasInterrupted(file->descriptor));
  if (file->descriptor == -1) return kIniTemporaryFileFailed;
  // A program that another thread starts between the two calls holds the file open as long as it
  // runs, which does no harm but to the room on the disk.
  (void)fcntl(file->descriptor, F_SETFD, FD_CLOEXEC);
  return kIniDone;
}

// What has the name already was left behind by a writer that did not finish. It goes, for writing
// through a link of that name would destroy something else.
static int OpenNamedFile(qvini_OutputFile* file) {
  file->temporary = qvini_NameWithExtensionTmp(file->target);
  if (file->temporary == NULL) return kIniOutOfMemory;
  (void)Unlink(file->temporary);
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
  if (file->changesMode && !ChangeMode(file->descriptor, file->mode))
    return kIniTemporaryFileFailed;
  return Sync(file->descriptor) ? kIniDone : kIniFlushFailed;
}

time_t qvini_ModificationTimeOf(int descriptor) {
  struct stat entry;
  return LookAtOpen(descriptor, &entry) ? entry.st_mtime : 0;
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
  if (!Rename(file->temporary, file->target)) return kIniNotWritable;
  SyncDirectoryOf(file->target);
  return kIniDone;
}

// What was written in place is where it belongs. A temporary file whose name another writer has
// taken, for its own file, can neither be renamed nor removed.
static int PutInPlace(const qvini_OutputFile* file, int isOurs) {
  if (file->temporary == NULL) return kIniDone;
  return isOurs ? Replace(file) : kIniNotWritable;
}

int qvini_FinishOutputFile(qvini_OutputFile* file, int result, time_t* modificationTime) {
  if (result == kIniDone) result = Complete(file);
  const time_t time = qvini_ModificationTimeOf(file->descriptor);
  const int isOurs = file->temporary != NULL && IsNameOf(file->temporary, file->descriptor);
  if (!Close(file->descriptor) && result == kIniDone) result = kIniFlushFailed;
  if (result == kIniDone) result = PutInPlace(file, isOurs);
  if (result == kIniDone) {
    *modificationTime = time;
  } else if (isOurs) {
    (void)Unlink(file->temporary);
  }
  FreeNames(file);
  return result;
}
