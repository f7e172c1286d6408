// host
#include <stdio.h>

/* Long chains and deep nests. */
static int chain(int x) {
  if (x == 0) return 5; else if (x == 1) return 8; else if (x < 4) return 13; else if (x == 7) return 21;
  else if (x % 2) { if (x > 20) { if (x > 30) { if (x > 40) return 1; else return 2; } return 3; } else return 4; }
  else if (x & 4 && !(x & 8)) return 34;
  else return x > 50 ? x > 60 ? x > 70 ? 70 : 60 : 50 : x > 30 ? 30 : x > 20 ? 20 : 10;
}
static int deep(int n) {
  int c = 0;
  for (int a = 0; a < n; a++) for (int b = a; b < n; b++) { if ((a ^ b) == 3) continue;
    for (int d = b; d < n; d++) { int e = d; while (e-- > a) { do { c += e; if (c % 7 == 0) goto next; } while (0); if (e == 2) break; } next:; } }
  return c;
}
static long wide(int a, int b, int c, int d, long e, long f, int g, int h, long i, int j) {
  return a + b * 2 + c * 3 + d * 4 + e * 5 + f * 6 + g * 7 + h * 8 + i * 9 + j * 10;
}
static int early(const int* v, int n) {
  int best = -1;
  for (int i = 0; i < n; i++) {
    if (v[i] < 0) return -2;
    if (v[i] == 99) break;
    if (v[i] & 1) continue;
    best = i;
    if (best > 5) goto found;
  }
  return best;
found:
  return best * 100;
}

int main(void) {
  for (int x = 0; x < 80; x += 1) printf("%d ", chain(x));
  int v1[] = {2, 4, 99, 6}, v2[] = {1, 2, -1}, v3[] = {2, 2, 2, 2, 2, 2, 2, 2};
  printf("\n%d %d %ld\n", deep(5), deep(9), wide(1, 2, 3, 4, 50000L, 60000L, 7, 8, 90000L, 10));
  printf("%d %d %d\n", early(v1, 4), early(v2, 3), early(v3, 8));
  return 0;
}
