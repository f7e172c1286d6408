// host
#include <stdio.h>

static int v[64];

static long counted(int n) { long s = 0; for (int i = 0; i < n; i++) s += v[i]; return s; }
static long down(int n) { long s = 0; for (int i = n; i-- > 0;) s = s * 3 % 1009 + v[i]; return s; }
static long stride(int n, int k) { long s = 0; for (int i = 0; i < n; i += k) s += v[i]; return s; }
static long pre_test(int n) { long s = 0; while (n > 0) { s += v[n - 1]; n -= 2; } return s; }
static long post_test(int n) { long s = 0; do { s += n; n--; } while (n > 0); return s; }
static long nested(int n) {
  long s = 0;
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) s += v[i] * (j + 1);
  return s;
}
static long triangular(int n) {
  long s = 0;
  for (int i = 0; i < n; i++)
    for (int j = i; j < n; j++)
      for (int k = j; k < n; k += 2) s += i ^ j ^ k;
  return s;
}
static int search(int x) {
  int i;
  for (i = 0; i < 64; i++) if (v[i] == x) break;
  return i;
}
static int skip_some(int n) {
  int s = 0;
  for (int i = 0; i < n; i++) {
    if (i % 3 == 0) continue;
    if (i == 40) break;
    s += i;
  }
  int k = 0;
  do { if (k++ % 2) continue; s += k; } while (k < 10);
  while (k) { if (--k == 5) continue; s += k; }
  return s;
}
static int two_counters(void) {
  int i, j, s = 0;
  for (i = 0, j = 63; i < j; i++, j--) s += v[i] - v[j];
  return s;
}
static int zero_trips(int n) { int c = 0; for (int i = 5; i < n; i++) c++; while (n > 100) n--; return c; }
static unsigned wrap(void) { unsigned n = 0; for (unsigned u = 5; u-- > 0;) n = n * 2 + u; return n; }
static long long_counter(void) { long n = 0; for (long i = 100000L; i > 0; i -= 7) n++; return n; }
static int moving_bound(int n) { int c = 0; for (int i = 0; i < n; i++) { c++; if (i % 4 == 0) n--; } return c; }

int main(void) {
  for (int i = 0; i < 64; i++) v[i] = (i * 37 + 11) % 101 - 50;
  printf("%ld %ld %ld %ld\n", counted(64), counted(1), counted(0), down(64));
  printf("%ld %ld %ld\n", stride(64, 3), pre_test(63), post_test(0));
  printf("%ld %ld\n", nested(12), triangular(11));
  printf("%d %d %d\n", search(v[17]), search(1000), skip_some(64));
  printf("%d %d %u %ld %d\n", two_counters(), zero_trips(3), wrap(), long_counter(), moving_bound(20));
  return 0;
}
