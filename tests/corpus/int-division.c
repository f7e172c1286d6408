// host
#include <stdio.h>

volatile short ds[] = {1, -1, 2, -2, 3, -3, 7, -7, 8, 10, -16, 100, 127, 255, 1000, -32768, 32767};
volatile short ns[] = {0, 1, -1, 5, -5, 8, -8, 99, -99, 12345, -12345, 32767, -32767};

/* Divisions by constants beside those by variables. */
#define ROW(n) (n) / 2, (n) % 2, (n) / 3, (n) % 3, (n) / -7, (n) % -7, (n) / 8, (n) % 8, (n) / 10, (n) % 10, (n) / 1000
static int constants_agree(int n) {
  int c[] = {ROW(n)};
  volatile int two = 2, three = 3, m7 = -7, eight = 8, ten = 10, k = 1000;
  int v[] = {n / two, n % two, n / three, n % three, n / m7, n % m7, n / eight, n % eight, n / ten, n % ten, n / k};
  for (int i = 0; i < 11; i++) if (c[i] != v[i]) return i;
  return -1;
}

int main(void) {
  for (unsigned i = 0; i < sizeof ns / sizeof *ns; i++) {
    long q = 0, r = 0;
    for (unsigned j = 0; j < sizeof ds / sizeof *ds; j++) {
      if (ns[i] / ds[j] * ds[j] + ns[i] % ds[j] != ns[i]) printf("broken %d %d\n", ns[i], ds[j]);
      q = q * 3 % 10007 + ns[i] / ds[j];
      r = r * 5 % 10007 + ns[i] % ds[j];
    }
    printf("%ld %ld %d, ", q, r, constants_agree(ns[i]));
  }
  for (unsigned long u = 1; u < 4000000000uL && u; u = (u * 7 + 3) & 0xFFFFFFFFuL) { printf("%lu %lu %lu ", u / 10, u % 10, u / 641); if (u > 3000000000uL) break; }
  printf("\n");
  return 0;
}
