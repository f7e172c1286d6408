// bench-measure COMMAND...: runs a command and prints its processor seconds (its own and the
// system's), its wall seconds, its peak memory in bytes and its status. A program of its own, since
// a child's peak is never told as less than what its parent held when it was started.
#include <cstdio>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>

extern char** environ;

static double seconds(const timeval& t) {
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
}

static double wall_clock() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: %s COMMAND [ARGUMENT...]\n", argv[0]);
    return 2;
  }
  const double start = wall_clock();
  pid_t child = 0;
  int status = 0;
  rusage usage{};
  if (posix_spawnp(&child, argv[1], nullptr, nullptr, argv + 1, environ) != 0 ||
      wait4(child, &status, 0, &usage) != child) {
    perror(argv[1]);
    return 2;
  }
  printf("%.6f %.6f %.6f %ld %d\n", seconds(usage.ru_utime), seconds(usage.ru_stime),
         wall_clock() - start, usage.ru_maxrss * 1024L,
         WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
  return 0;
}
