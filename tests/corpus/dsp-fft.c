// host
#include <math.h>
#include <stdio.h>

#define N 32
#define LOG 5
struct complex { float re, im; };
static struct complex x[N], w[N / 2];

static void bit_reverse(struct complex* a) {
  for (int i = 0; i < N; i++) {
    int r = 0;
    for (int k = 0; k < LOG; k++) r |= (i >> k & 1) << (LOG - 1 - k);
    if (r > i) { struct complex t = a[i]; a[i] = a[r]; a[r] = t; }
  }
}
static void fft(struct complex* a) {
  bit_reverse(a);
  for (int half = 1, step = N / 2; half < N; half *= 2, step /= 2)
    for (int base = 0; base < N; base += 2 * half)
      for (int k = 0; k < half; k++) {
        struct complex *p = &a[base + k], *q = p + half, t = w[k * step];
        struct complex m = {t.re * q->re - t.im * q->im, t.re * q->im + t.im * q->re};
        q->re = p->re - m.re; q->im = p->im - m.im;
        p->re += m.re; p->im += m.im;
      }
}
static long rounded(float v) { return (long)floorf(v * 10.0f + 0.5f); }

int main(void) {
  for (int k = 0; k < N / 2; k++) { w[k].re = cosf(6.2831853f * k / N); w[k].im = -sinf(6.2831853f * k / N); }
  for (int i = 0; i < N; i++) x[i].re = (i % 8 < 4 ? 1.0f : -1.0f) + 0.1f * i;
  float energy = 0, spectrum = 0;
  for (int i = 0; i < N; i++) energy += x[i].re * x[i].re;
  fft(x);
  for (int i = 0; i < N; i++) spectrum += x[i].re * x[i].re + x[i].im * x[i].im;
  for (int i = 0; i < N; i += 3) printf("%ld,%ld ", rounded(x[i].re), rounded(x[i].im));
  printf("\n%ld %ld\n", rounded(energy), rounded(spectrum / N));
  return 0;
}
