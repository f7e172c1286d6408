#include <stdio.h>

/* Indices and distances beyond 16 bits. */
static int big[70000L];
static long wide[3][12000];
struct cell { int a; long b; };
static struct cell cells[20000];

int main(void) {
  for (long i = 0; i < 70000L; i++) big[i] = (int)(i & 0x7FFF);
  unsigned u = 65535u;
  printf("%d %d %d\n", big[69999L], big[u], big[u + 0L + 10]);
  int* p = big + 40000u;
  printf("%ld %ld %d\n", (long)(p - big), (long)(&big[69000L] - p), p[-30000]);
  for (int i = 0; i < 3; i++) for (int j = 0; j < 12000; j++) wide[i][j] = i * 100000L + j;
  printf("%ld %ld\n", wide[2][11999], (long)((char*)&wide[2][0] - (char*)wide));
  int k = 19999;
  cells[k].b = 5;
  cells[k].a = 6;
  struct cell* c = &cells[k];
  printf("%ld %ld %d\n", (long)(c - cells), (long)((int*)c - (int*)cells), (&cells[0])[k].a);
  printf("%lu %lu\n", (unsigned long)sizeof big, (unsigned long)sizeof cells / sizeof *cells);
  return 0;
}
