/* Greatest common divisor by tail recursion: from level 2 on the self-call becomes a branch. */
#include <stdio.h>

static unsigned gcd(unsigned a, unsigned b) {
  if (b == 0) return a;
  return gcd(b, a % b);
}

int main(void) {
  unsigned i, sum = 0;
  for (i = 1; i <= 60; i++) sum += gcd(i, 60u - i + 12u);
  printf("gcd(1071, 462) = %u, sum = %u\n", gcd(1071, 462), sum);
  return !(gcd(1071, 462) == 21);
}
