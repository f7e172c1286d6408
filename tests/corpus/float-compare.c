// host
#include <stdio.h>

volatile float one = 1.0f, two = 2.0f, zero = 0.0f;

/* Every comparison with its opposites, for ordered and unordered pairs; also as conditions. */
static void all(float x, float y) {
  printf("%d%d%d%d%d%d ", x == y, x != y, x < y, x <= y, x > y, x >= y);
  printf("%d%d%d%d%d%d ", !(x == y), !(x != y), !(x < y), !(x <= y), !(x > y), !(x >= y));
  int n = 0;
  if (x < y) n |= 1; else n |= 2;
  if (!(x < y)) n |= 4;
  if (x >= y && x == x) n |= 8;
  if (x != x || y != y) n |= 16;
  while (x > y) { n |= 32; break; }
  printf("%d %d\n", n, x < y ? 1 : x > y ? 2 : x == y ? 3 : 4);
}

int main(void) {
  float nan = zero / zero, inf = one / zero;
  float v[] = {one, two, -one, zero, -zero, inf, -inf, nan};
  for (int i = 0; i < 8; i++)
    for (int j = 0; j < 8; j++) all(v[i], v[j]);
  printf("%d %d %d\n", nan ? 1 : 0, !nan, zero || -zero);
  return 0;
}
