// host
#include <stdio.h>

typedef short q15;
typedef long q31;
static q15 mulq(q15 a, q15 b) { long p = (long)a * b >> 14; p = (p + 1) >> 1; return (q15)(p > 32767 ? 32767 : p); }
static q15 addq(q15 a, q15 b) { long s = (long)a + b; return (q15)(s > 32767 ? 32767 : s < -32768 ? -32768 : s); }
static int isqrt(unsigned long n) { unsigned long r = 0, bit = 1uL << 30; while (bit > n) bit >>= 2; for (; bit; bit >>= 2) { if (n >= r + bit) { n -= r + bit; r = (r >> 1) + bit; } else r >>= 1; } return (int)r; }
static q15 sine(unsigned phase) {
  unsigned long x = phase & 0x3FFF;
  if (phase & 0x4000) x = 0x4000 - x;
  long z = (long)x * 2, z2;
  if (z > 32767) z = 32767;
  z2 = z * z >> 15;
  long y = (51472L - ((z2 * (21167L - (z2 * 2611L >> 15))) >> 15)) * z >> 15;
  if (y > 32767) y = 32767;
  return (q15)(phase & 0x8000 ? -y : y);
}
static int log2_int(unsigned long v) { int n = -1; while (v) { v >>= 1; n++; } return n; }
static q15 divide(q15 a, q15 b) { unsigned long n = (unsigned long)a << 15, d = b, q = 0, r = 0; for (int k = 31; k >= 0; k--) { r = r << 1 | (n >> k & 1); q <<= 1; if (r >= d) { r -= d; q |= 1; } } return (q15)q; }
static int gray(int n) { return n ^ n >> 1; }

int main(void) {
  printf("%d %d %d %d\n", mulq(16384, 16384), mulq(-32768, -32768), mulq(-20000, 12345), mulq(1, 1));
  printf("%d %d %d\n", addq(30000, 10000), addq(-30000, -10000), addq(5, -7));
  for (unsigned long n = 1; n < 2000000000uL; n *= 17) printf("%d/%d ", isqrt(n), log2_int(n));
  for (unsigned p = 0; p < 65536u - 4099u; p += 4099) printf("%d ", sine(p));
  printf("%d %d %d\n", divide(10000, 20000), divide(1, 3), gray(100));
  return 0;
}
