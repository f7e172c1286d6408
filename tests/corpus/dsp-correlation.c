// host
#include <stdio.h>

static short a[100], b[40];
static long r[64];

static void correlate(const short* restrict x, const short* restrict y, long* restrict out, int lags, int n) {
  for (int lag = 0; lag < lags; lag++) {
    long s = 0;
    for (int i = 0; i < n; i++) s += (long)x[i + lag] * y[i];
    out[lag] = s;
  }
}
static int peak(const long* v, int n) { int best = 0; for (int i = 1; i < n; i++) if (v[i] > v[best]) best = i; return best; }
static void autocorrelate(const short* x, long* out, int lags, int n) {
  for (int lag = 0; lag < lags; lag++) { out[lag] = 0; for (int i = lag; i < n; i++) out[lag] += (long)x[i] * x[i - lag]; }
}
static long normalize(long v) { int k = 0; if (!v) return 0; while (v < (1L << 28) && v > -(1L << 28)) { v *= 2; k++; } return v + k; }

int main(void) {
  long seed = 1;
  for (int i = 0; i < 100; i++) { seed = (seed * 171) % 30269; a[i] = (short)(seed % 401 - 200); }
  for (int i = 0; i < 40; i++) b[i] = a[i + 17];
  correlate(a, b, r, 60, 40);
  printf("%d %ld %ld\n", peak(r, 60), r[17], r[3]);
  autocorrelate(a, r, 10, 100);
  for (int i = 0; i < 10; i++) printf("%ld ", r[i]);
  printf("%ld %ld\n", normalize(r[0]), normalize(-3));
  return 0;
}
