// host
#include <stdio.h>

#define TAPS 16
#define N 80
static short h[TAPS], x[N + TAPS], y[N];
static float fh[TAPS], fx[N + TAPS], fy[N];

static short saturate(long v) { return v > 32767 ? 32767 : v < -32768 ? -32768 : (short)v; }

static void fir(const short* restrict in, const short* restrict coef, short* restrict out, int n, int taps) {
#pragma MUST_ITERATE(8, , 8)
  for (int i = 0; i < n; i++) {
    long acc = 1L << 14;
#pragma UNROLL(4)
    for (int k = 0; k < taps; k++) acc += (long)in[i + k] * coef[k];
    out[i] = saturate(acc >> 15);
  }
}
static void fir_float(const float* in, const float* coef, float* out, int n) {
  for (int i = 0; i < n; i++) {
    float acc = 0.0f;
    for (int k = 0; k < TAPS; k++) acc += in[i + k] * coef[k];
    out[i] = acc;
  }
}
/* Symmetric: half of the products. */
static void fir_symmetric(const short* in, const short* coef, short* out, int n) {
  for (int i = 0; i < n; i++) {
    long acc = 1L << 14;
    for (int k = 0; k < TAPS / 2; k++) acc += ((long)in[i + k] + in[i + TAPS - 1 - k]) * coef[k];
    out[i] = saturate(acc >> 15);
  }
}

int main(void) {
  for (int k = 0; k < TAPS; k++) { h[k] = (k < 8 ? k : 15 - k) * 900 + 100; fh[k] = h[k] / 32768.0f; }
  for (int i = 0; i < N + TAPS; i++) { x[i] = (short)((long)i * 7919 % 4001 * 16 - 32000); fx[i] = x[i] / 32768.0f; }
  fir(x, h, y, N, TAPS);
  for (int i = 0; i < N; i += 8) printf("%d ", y[i]);
  fir_symmetric(x, h, y, N);
  for (int i = 3; i < N; i += 8) printf("%d ", y[i]);
  fir_float(fx, fh, fy, N);
  for (int i = 0; i < N; i += 16) printf("%ld ", (long)(fy[i] * 10000.0f));
  printf("\n");
  return 0;
}
