/* Opens the library that it is told, closes it, and prints how many nanoseconds of the processor
 * that took. In C: the libraries of C++ are then for the one that is opened to bring along. */
#define _POSIX_C_SOURCE 200809L /* for the clock */

#include <dlfcn.h>
#include <stdio.h>
#include <time.h>

static long long nanoseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1000000000LL + now.tv_nsec;
}

int main(int count, char** arguments) {
  long long begin;
  void* library;
  if (count != 2) return 2;
  begin = nanoseconds();
  library = dlopen(arguments[1], RTLD_NOW);
  if (library == NULL || dlclose(library) != 0) return 1;
  printf("%lld\n", nanoseconds() - begin);
  return 0;
}
