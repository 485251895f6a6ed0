/* What loading a library costs a process, in microseconds of CPU time: the median of many fresh
 * processes, which take the libraries given in turn.
 *   tallyra-load-bench LIBRARY... */
#define _DEFAULT_SOURCE /* wait4(2) */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

enum { kRounds = 101 };

static long microseconds(struct timeval time) { return time.tv_sec * 1000000L + time.tv_usec; }

/* -1 when the library cannot be loaded. */
static long cost_of_load(const char* library) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(dlopen(library, RTLD_NOW) != NULL ? 0 : 1);
  }
  int status = 0;
  struct rusage usage;
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
    return -1;
  }
  return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

static int compare(const void* a, const void* b) {
  const long left = *(const long*)a;
  const long right = *(const long*)b;
  return (left > right) - (left < right);
}

int main(int argc, char** argv) {
  long(*costs)[kRounds] = calloc((size_t)argc, sizeof *costs);
  for (int round = 0; costs != NULL && round < kRounds; ++round) {
    for (int i = 1; i < argc; ++i) {
      costs[i][round] = cost_of_load(argv[i]);
      if (costs[i][round] < 0) {
        fprintf(stderr, "%s: cannot be loaded\n", argv[i]);
        return 1;
      }
    }
  }
  for (int i = 1; costs != NULL && i < argc; ++i) {
    qsort(costs[i], kRounds, sizeof costs[i][0], &compare);
    printf("%6ld us  %s\n", costs[i][kRounds / 2], argv[i]);
  }
  free(costs);
  return 0;
}
