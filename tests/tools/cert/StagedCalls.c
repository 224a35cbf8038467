/* Preloaded into a process: the system calls by which it changes a directory, from its first chdir
 * on, go wrong where a test wants it.
 *
 * QVTEST_STAGE       "WHAT:NUMBER" for the call of that number, counted from 1: "kill" or "term"
 * sends that signal before it, a number is the errno with which it fails; "short:0" has every write
 * move one byte QVTEST_LOG         a file that gets the name of each call QVTEST_HOST_NAME   what
 * gethostname gives
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

static int g_begun = 0;
static int g_count = 0;

static void Log(const char* name) {
  const char* file = getenv("QVTEST_LOG");
  FILE* stream = file == NULL ? NULL : fopen(file, "a");
  if (stream == NULL) return;
  fprintf(stream, "%s\n", name);
  fclose(stream);
}

/* Whether the call of this name is to fail. */
static int Fails(const char* name) {
  const char* stage = getenv("QVTEST_STAGE");
  const char* number = stage == NULL ? NULL : strchr(stage, ':');
  if (!g_begun) return 0;
  Log(name);
  if (number == NULL || ++g_count != atoi(number + 1)) return 0;
  if (strncmp(stage, "kill", 4) == 0) raise(SIGKILL);
  if (strncmp(stage, "term", 4) == 0) raise(SIGTERM);
  if (atoi(stage) == 0) return 0;
  errno = atoi(stage);
  return 1;
}

static void* Real(const char* name) {
  return dlsym(RTLD_NEXT, name);
}

#define STAGED(result, name, parameters, arguments)               \
  __attribute__((visibility("default"))) result name parameters { \
    result(*real) parameters;                                     \
    *(void**)&real = Real(#name);                                 \
    return Fails(#name) ? -1 : real arguments;                    \
  }

STAGED(int, mkdir, (const char* path, mode_t mode), (path, mode))
STAGED(int, fchdir, (int descriptor), (descriptor))
STAGED(int, fchown, (int descriptor, uid_t user, gid_t group), (descriptor, user, group))
STAGED(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode))
STAGED(int, fstat, (int descriptor, struct stat* entry), (descriptor, entry))
STAGED(int, flock, (int descriptor, int operation), (descriptor, operation))
STAGED(int, rename, (const char* from, const char* to), (from, to))
STAGED(int, link, (const char* from, const char* to), (from, to))
STAGED(int, symlink, (const char* from, const char* to), (from, to))
STAGED(int, remove, (const char* path), (path))
STAGED(int, unlinkat, (int directory, const char* path, int flags), (directory, path, flags))
STAGED(int, unlink, (const char* path), (path))

/* Nobody pulls the plug here, and a disk takes its time. */
__attribute__((visibility("default"))) int fsync(int descriptor) {
  (void)descriptor;
  return Fails("fsync") ? -1 : 0;
}

__attribute__((visibility("default"))) int chdir(const char* path) {
  int (*real)(const char*);
  *(void**)&real = Real("chdir");
  g_begun = 1;
  return Fails("chdir") ? -1 : real(path);
}

__attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
  int (*real)(const char*, int, ...);
  va_list arguments;
  mode_t mode = 0;
  *(void**)&real = Real("open");
  va_start(arguments, flags);
  if ((flags & O_CREAT) != 0) mode = va_arg(arguments, mode_t);
  va_end(arguments);
  return Fails("open") ? -1 : real(path, flags, mode);
}

__attribute__((visibility("default"))) ssize_t write(int descriptor, const void* bytes,
                                                     size_t size) {
  ssize_t (*real)(int, const void*, size_t);
  const char* stage = getenv("QVTEST_STAGE");
  *(void**)&real = Real("write");
  if (g_begun && stage != NULL && strcmp(stage, "short:0") == 0 && size > 0) size = 1;
  return Fails("write") ? -1 : real(descriptor, bytes, size);
}

/* The descriptor is gone, as the system's close has it. */
__attribute__((visibility("default"))) int close(int descriptor) {
  int (*real)(int);
  const int fails = Fails("close");
  const int error = errno;
  *(void**)&real = Real("close");
  if (!fails) return real(descriptor);
  real(descriptor);
  errno = error;
  return -1;
}

__attribute__((visibility("default"))) int gethostname(char* buffer, size_t size) {
  int (*real)(char*, size_t);
  const char* name = getenv("QVTEST_HOST_NAME");
  *(void**)&real = Real("gethostname");
  if (name == NULL) return real(buffer, size);
  strncpy(buffer, name, size);
  return 0;
}
