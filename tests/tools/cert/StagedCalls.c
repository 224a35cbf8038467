/* Preloaded into a process: the system calls by which it changes a directory, from its first chdir
 * on, go wrong where a test wants it.
 *
 * QVTEST_STAGE is "WHAT:NUMBER" for the call of that number, counted from 1. WHAT is a signal that
 * is sent before it ("kill", "term", "hup", "int", "quit", "stop"), or the errno with which it
 * fails; "short:0" has every write move one byte. QVTEST_REFUSED is the name of a call that is
 * never permitted. QVTEST_LOG is a file that gets a line for each call: its name, and what it is
 * about. QVTEST_HOST_NAME is what gethostname gives.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

static int g_begun = 0;
static int g_count = 0;

static const struct {
  const char* name;
  int number;
} kSignals[] = {{"kill:", SIGKILL}, {"term:", SIGTERM}, {"hup:", SIGHUP},
                {"int:", SIGINT},   {"quit:", SIGQUIT}, {"stop:", SIGSTOP}};

static void Log(const char* name, const char* about) {
  const char* file = getenv("QVTEST_LOG");
  FILE* stream = file == NULL ? NULL : fopen(file, "a");
  if (stream == NULL) return;
  fprintf(stream, "%s %s\n", name, about);
  fclose(stream);
}

/* Whether the call of this name is to fail. */
static int FailsAbout(const char* name, const char* about) {
  const char* stage = getenv("QVTEST_STAGE");
  const char* refused = getenv("QVTEST_REFUSED");
  const char* which = stage == NULL ? NULL : strchr(stage, ':');
  if (!g_begun) return 0;
  Log(name, about);
  ++g_count;
  if (refused != NULL && strcmp(name, refused) == 0) {
    errno = EPERM;
    return 1;
  }
  if (which == NULL || g_count != atoi(which + 1)) return 0;
  for (size_t i = 0; i < sizeof kSignals / sizeof *kSignals; ++i) {
    if (strncmp(stage, kSignals[i].name, strlen(kSignals[i].name)) == 0) raise(kSignals[i].number);
  }
  if (atoi(stage) == 0) return 0;
  errno = atoi(stage);
  return 1;
}

static int Fails(const char* name) {
  return FailsAbout(name, "");
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
STAGED(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode))
STAGED(int, fstat, (int descriptor, struct stat* entry), (descriptor, entry))
STAGED(int, seteuid, (uid_t user), (user))
STAGED(int, setegid, (gid_t group), (group))
STAGED(int, setgroups, (size_t count, const gid_t* groups), (count, groups))
STAGED(int, link, (const char* from, const char* to), (from, to))
STAGED(int, symlink, (const char* from, const char* to), (from, to))
STAGED(int, remove, (const char* path), (path))
STAGED(int, unlinkat, (int directory, const char* path, int flags), (directory, path, flags))
STAGED(int, unlink, (const char* path), (path))

__attribute__((visibility("default"))) int rename(const char* from, const char* to) {
  int (*real)(const char*, const char*);
  *(void**)&real = Real("rename");
  return FailsAbout("rename", to) ? -1 : real(from, to);
}

__attribute__((visibility("default"))) int flock(int descriptor, int operation) {
  int (*real)(int, int);
  *(void**)&real = Real("flock");
  return FailsAbout("flock", operation == LOCK_UN ? "unlock" : "lock")
             ? -1
             : real(descriptor, operation);
}

/* Nobody pulls the plug here, and a disk takes its time. */
__attribute__((visibility("default"))) int fsync(int descriptor) {
  char link[64];
  char path[4096] = "";
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  if (readlink(link, path, sizeof path - 1) < 0) return -1;
  return FailsAbout("fsync", path) ? -1 : 0;
}

/* Nobody has to wait. */
__attribute__((visibility("default"))) int nanosleep(const struct timespec* time,
                                                     struct timespec* left) {
  (void)time;
  (void)left;
  return 0;
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
  char about[64] = "";
  *(void**)&real = Real("open");
  va_start(arguments, flags);
  if ((flags & O_CREAT) != 0) mode = va_arg(arguments, mode_t);
  va_end(arguments);
  if ((flags & O_CREAT) != 0)
    snprintf(about, sizeof about, "%s %o", (flags & O_EXCL) != 0 ? "new" : "any", mode);
  return FailsAbout("open", about) ? -1 : real(path, flags, mode);
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
