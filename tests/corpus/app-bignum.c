// host
#include <stdio.h>

/* Long numbers in base 10000. */
#define LIMBS 24
struct big { int n; unsigned short d[LIMBS]; };

static struct big from(unsigned v) { struct big b = {0}; do b.d[b.n++] = v % 10000; while (v /= 10000); return b; }
static struct big add(struct big a, const struct big* b) {
  unsigned carry = 0;
  for (int i = 0; i < a.n || i < b->n || carry; i++) {
    if (i == a.n) a.n++;
    carry += a.d[i] + (i < b->n ? b->d[i] : 0u);
    a.d[i] = carry % 10000;
    carry /= 10000;
  }
  return a;
}
static void times(struct big* a, unsigned k) {
  unsigned long carry = 0;
  for (int i = 0; i < a->n || carry; i++) {
    if (i == a->n) a->n++;
    carry += (unsigned long)a->d[i] * k;
    a->d[i] = carry % 10000;
    carry /= 10000;
  }
}
static unsigned divide(struct big* a, unsigned k) {
  unsigned long rest = 0;
  for (int i = a->n; i-- > 0;) { rest = rest * 10000 + a->d[i]; a->d[i] = (unsigned short)(rest / k); rest %= k; }
  while (a->n > 1 && !a->d[a->n - 1]) a->n--;
  return (unsigned)rest;
}
static void print(struct big b) { printf("%d", b.d[b.n - 1]); for (int i = b.n - 2; i >= 0; i--) printf("%04d", b.d[i]); printf("\n"); }

int main(void) {
  struct big f = from(1), a = from(0), b = from(1);
  for (unsigned k = 2; k <= 50; k++) times(&f, k);
  print(f);
  for (int i = 0; i < 300; i++) { struct big c = add(a, &b); a = b; b = c; }
  print(a);
  unsigned sum = 0;
  for (unsigned k = 2; k <= 30; k++) sum += divide(&f, k + 51);
  print(f);
  printf("%u\n", sum);
  return 0;
}
