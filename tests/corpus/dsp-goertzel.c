// host
#include <stdio.h>

/* Tone detection in fixed point, a moving average and an interpolator. */
#define N 105
static short signal[N];
static const short coefs[4] = {27980, 26956, 25701, 24219};
static const short wave[16] = {0, 3827, 7071, 9239, 10000, 9239, 7071, 3827, 0, -3827, -7071, -9239, -10000, -9239, -7071, -3827};

static long power(const short* x, int n, short coef) {
  long s1 = 0, s2 = 0;
  for (int i = 0; i < n; i++) { long s = (x[i] >> 6) + ((s1 * coef) >> 14) - s2; s2 = s1; s1 = s; }
  return s1 * s1 + s2 * s2 - ((s1 * coef) >> 14) * s2;
}
static void average(const short* in, short* out, int n, int w) {
  long sum = 0;
  for (int i = 0; i < n; i++) { sum += in[i]; if (i >= w) sum -= in[i - w]; out[i] = (short)(sum / (i < w ? i + 1 : w)); }
}
static int resample(const short* in, int n, short* out, unsigned long step) {
  int count = 0;
  for (unsigned long at = 0; (at >> 16) + 1 < (unsigned long)n; at += step) {
    int k = (int)(at >> 16);
    long frac = (long)(at & 0xFFFF) >> 1;
    out[count++] = (short)(in[k] + (((in[k + 1] - in[k]) * frac) >> 15));
  }
  return count;
}

int main(void) {
  static short out[200];
  for (int i = 0; i < N; i++) signal[i] = wave[i * 2 & 15] / 2 + wave[(i * 3 + 5) & 15] / 3;
  for (int k = 0; k < 4; k++) printf("%ld ", power(signal, N, coefs[k]) >> 8);
  average(signal, out, N, 7);
  for (int i = 0; i < N; i += 13) printf("%d ", out[i]);
  int n = resample(signal, N, out, 0xC000);
  printf("%d ", n);
  for (int i = 0; i < n; i += 17) printf("%d ", out[i]);
  printf("\n");
  return 0;
}
