#include <stdio.h>

volatile int n0 = 0, n1 = 1, n15 = 15, n31 = 31;
volatile int neg = -20480;
volatile unsigned u = 0xA5A5;
volatile long l = -0x12345678L;
volatile unsigned long ul = 0x89ABCDEFuL;
volatile unsigned long long q = 0xFEDCBA9876543210uLL;

static unsigned rotate(unsigned x, int k) { return x << k | x >> (16 - k); }
static int population(unsigned long x) {
  int n = 0;
  for (; x; x &= x - 1) n++;
  return n;
}
static unsigned long reverse(unsigned long x) {
  unsigned long r = 0;
  for (int k = 0; k < 32; k++, x >>= 1) r = r << 1 | (x & 1);
  return r;
}

int main(void) {
  printf("%d %d %d\n", neg >> 4, neg >> n15, neg >> n0);
  printf("%u %u %u\n", u >> 4, u >> n15, (unsigned)(u << n1));
  printf("%ld %ld\n", l >> 8, l >> n31);
  printf("%lu %lu\n", ul >> 4, ul << 4);
  printf("%llu %llu\n", q >> 32, q << 8);
  printf("%u %u\n", rotate(u, 3), rotate(0x8001, 1));
  printf("%d %d\n", population(ul), population(0));
  printf("%lx\n", reverse(0x12345678uL));
  printf("%u %u %u\n", u & 0xFF, (u | 0xF0F) & ~0xF0u, u ^ 0xFFFF);
  u &= ~(1u << 15);
  u |= 1u << n1;
  printf("%u\n", u);
  printf("%ld\n", 1L << 20 | 1L << n15);
  l >>= 3;
  ul >>= 3;
  printf("%ld %lu\n", l, ul);
  return 0;
}
