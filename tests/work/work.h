/* What the kernels share: checks against known results, and numbers from a fixed sequence. */
#ifndef WORK_H
#define WORK_H
#include <stdint.h>
#include <stdio.h>

static int work_faults;

/* Prints a result and compares it with the known one. */
static void expect(const char* what, uint32_t got, uint32_t want) {
  printf("%s %08lx\n", what, (unsigned long)got);
  if (got == want) return;
  printf("%s: expected %08lx\n", what, (unsigned long)want);
  work_faults++;
}

static inline uint32_t mix(uint32_t sum, uint32_t value) {
  sum = (sum ^ value) * 16777619u;
  return (sum ^ (sum >> 15)) & 0xFFFFFFFFu;
}

static uint32_t work_seed = 1;
static inline uint32_t next_random(void) {
  work_seed = (work_seed * 1664525u + 1013904223u) & 0xFFFFFFFFu;
  return work_seed >> 8;
}

static int finish(void) {
  return work_faults != 0;
}
#endif
