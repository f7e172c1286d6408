// host
#include <stdio.h>

typedef unsigned long long u64;
typedef long long s64;
static u64 state = 88172645463325252uLL;
static u64 next(void) { state ^= state << 13; state ^= state >> 7; return state ^= state << 17; }
static u64 mulmod(u64 a, u64 b, u64 m) { u64 r = 0; for (; b; b >>= 1) { if (b & 1) r = (r + a) % m; a = a * 2 % m; } return r; }
static u64 power(u64 b, u64 e, u64 m) { u64 r = 1; for (; e; e >>= 1, b = mulmod(b, b, m)) if (e & 1) r = mulmod(r, b, m); return r; }
static int bits(u64 x) { int n = 0; while (x) n += x & 1, x >>= 1; return n; }
static s64 isqrt(s64 n) { s64 x = n, y = (x + 1) / 2; while (y < x) { x = y; y = (x + n / x) / 2; } return x; }
static int kind(s64 v) { switch (v) { case -5000000000LL: return 1; case 1LL << 40: return 2; case 0: return 3; default: return v < 0 ? 4 : 5; } }

int main(void) {
  for (int i = 0; i < 4; i++) { u64 a = next(), b = next() >> 20; printf("%llu %llu %lld\n", a / b, a % b, (s64)a / (s64)b); }
  printf("%llu %d\n", power(3, 1000000006uLL, 1000000007uLL), bits(0xFFFF0000FFFF0001uLL));
  printf("%lld %lld\n", isqrt(1000000000000LL), isqrt(99999999999LL));
  printf("%d%d%d%d%d\n", kind(-5000000000LL), kind(1099511627776LL), kind(0), kind(-1), kind(7));
  s64 t = -1;
  t <<= 40; t |= 0x123; t >>= 4;
  printf("%lld %d %d\n", t, t < -1, (u64)t > 5);
  printf("%.1f %.1f\n", (float)(1LL << 40), (float)-(1LL << 50));
  for (s64 k = 1LL << 62; k > 0; k /= 1000) printf("%lld ", k);
  printf("\n");
  return 0;
}
