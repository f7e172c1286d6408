// host
#include <stdio.h>

/* Promises about trip counts that are kept. */
static short a[128], b[128];

static long dot(const short* restrict x, const short* restrict y, int n) {
  long s = 0;
#pragma MUST_ITERATE(4, 128, 4)
#pragma UNROLL(4)
  for (int i = 0; i < n; i++) s += (long)x[i] * y[i];
  return s;
}
static void scale(short* x, int n, int k) {
  int i = 0;
#pragma UNROLL(2)
#pragma MUST_ITERATE(1)
  do x[i] = x[i] * k; while (++i < n);
}
static int steps(int n) {
  int s = 0;
#pragma MUST_ITERATE(, , 2)
  while (n > 0) { s += n; n -= 1; }
  return s;
}

int main(void) {
  for (int i = 0; i < 128; i++) { a[i] = i - 64; b[i] = 3 * i % 50; }
  printf("%ld %ld\n", dot(a, b, 128), dot(a, b, 4));
  scale(a, 100, 3);
  printf("%ld %d\n", dot(a, b, 64), steps(10));
  return 0;
}
