// host
#include <stdio.h>

/* Places with effects are evaluated once; assignments have values. */
static int calls, v[8];
static int* at(int k) { calls++; return &v[k]; }
static int idx(void) { return calls++ & 7; }
struct s { unsigned f : 4; int g; _Bool b; } list[4], *cursor = list;

int main(void) {
  for (int i = 0; i < 8; i++) v[i] = i * 10;
  *at(1) += 5; *at(2) <<= 2; (*at(3))++; --*at(4); *at(5) %= 7;
  v[idx()] ^= 3;
  printf("%d:", calls);
  for (int i = 0; i < 8; i++) printf(" %d", v[i]);
  cursor++->f += 3; cursor++->g -= 4; (cursor++)->b |= 8; (--cursor)->f /= 1;
  printf("\n%d %d %d %d\n", list[0].f, list[1].g, list[2].b, (int)(cursor - list));
  int a, b, c, d = a = b = c = 7;
  a += b -= c *= 2;
  printf("%d %d %d %d\n", a, b, c, d);
  int x = (a = 3, b = a * 2, a + b), y = x++ + 2, z = -x-- - -y;
  printf("%d %d %d\n", x, y, z);
  int* p = v;
  p++;
  p[0] = p[1]; *++p = 99; ++*p; (*p)--;
  printf("%d %d %d\n", v[0], v[1], v[2]);
  a = 5;
  printf("%d\n", !!a + !0 + (~a & 0) + (a ? 2 : 3));
  unsigned long big = 1;
  big *= 70000; big -= 1; big /= 3; big |= 1uL << 17;
  printf("%lu\n", big);
  return 0;
}
