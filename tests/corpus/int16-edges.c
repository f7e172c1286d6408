#include <limits.h>
#include <stdio.h>

/* Arithmetic at the ends of the 16-bit range, through volatile so that nothing is known ahead. */
volatile int vmax = INT_MAX, vmin = INT_MIN, vm1 = -1, v7 = 7;
volatile unsigned umax = UINT_MAX, u1 = 1;

int main(void) {
  int a = vmax, b = vmin;
  unsigned u = umax;
  printf("%d %d\n", a, b);
  printf("%u %u\n", u, u + u1);
  printf("%d\n", (int)(unsigned)(a + 0u + 1u));
  printf("%u\n", 0u - u1);
  printf("%d %d\n", v7 / 2, -v7 / 2);
  printf("%d %d\n", v7 % 4, -v7 % 4);
  printf("%d %d\n", v7 / -2, v7 % -4);
  printf("%u %u\n", u / 10u, u % 10u);
  printf("%u\n", u * u);
  printf("%d\n", vm1 < u1);           /* -1 becomes 65535 */
  printf("%d\n", (long)vm1 < (long)u1);
  printf("%ld\n", (long)a * a);
  printf("%ld\n", (long)b * b);
  printf("%d\n", -b == b);
  printf("%d %d\n", ~0, ~vmax);
  return 0;
}
