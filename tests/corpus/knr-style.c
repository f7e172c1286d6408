// host
#include <stdio.h>

/* Definitions and calls without prototypes. */
static int old();
static int add(a, b) int a; int b; { return a + b; }
static long scale(p, n, k) int* p; long k; int n; { long s = 0; while (n-- > 0) s += *p++ * k; return s; }
static int old(x) int x; { return x * 3; }

int main(void) {
  int v[3] = {1, 2, 3};
  printf("%d %ld %d\n", add(4, 5), scale(v, 3, 100000L), old(7));
  int (*f)() = add;
  printf("%d\n", f(10, 20));
  return 0;
}
