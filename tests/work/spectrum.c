// host
/* A 256-point transform in Q15 with block scaling, forwards and back, and power by band. */
#include "work.h"

#define LOG2N 8
#define N (1 << LOG2N)

typedef struct { int16_t re, im; } Complex;

static Complex twiddle[N / 2];
static Complex data[N], copy[N];

/* sin(2 pi k / N) by recurrence in Q30. */
static void make_twiddles(void) {
  int32_t c = 1L << 30, s = 0;
  const int32_t cs = 1073418433L, sn = 26350943L; /* cos and sin of 2 pi / 256 */
  for (int k = 0; k < N / 2; k++) {
    int32_t re = c >> 15, im = -(s >> 15);
    twiddle[k].re = (int16_t)(re > 32767 ? 32767 : re);
    twiddle[k].im = (int16_t)(im < -32767 ? -32767 : im);
    int64_t c2 = (int64_t)c * cs - (int64_t)s * sn, s2 = (int64_t)s * cs + (int64_t)c * sn;
    c = (int32_t)(c2 >> 30);
    s = (int32_t)(s2 >> 30);
  }
}

static void bit_reverse(Complex* x) {
  for (int i = 1, j = 0; i < N; i++) {
    int bit = N >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) {
      Complex t = x[i];
      x[i] = x[j];
      x[j] = t;
    }
  }
}

static Complex multiply(Complex a, Complex b) {
  Complex r;
  r.re = (int16_t)(((int32_t)a.re * b.re - (int32_t)a.im * b.im + 0x4000) >> 15);
  r.im = (int16_t)(((int32_t)a.re * b.im + (int32_t)a.im * b.re + 0x4000) >> 15);
  return r;
}

static int largest(const Complex* x) {
  int most = 0;
  for (int k = 0; k < N; k++) {
    int re = x[k].re < 0 ? -x[k].re : x[k].re, im = x[k].im < 0 ? -x[k].im : x[k].im;
    if (re > most) most = re;
    if (im > most) most = im;
  }
  return most;
}

/* Gives the number of halvings that kept the values in range. */
static int transform(Complex* x) {
  int exponent = 0;
  bit_reverse(x);
  for (int size = 2; size <= N; size *= 2) {
    int half = size / 2, stride = N / size, scale = largest(x) > 12000;
    exponent += scale;
    for (int base = 0; base < N; base += size)
      for (int k = 0; k < half; k++) {
        Complex* top = &x[base + k];
        Complex* bottom = top + half;
        Complex t = multiply(*bottom, twiddle[k * stride]);
        int32_t re = top->re, im = top->im;
        top->re = (int16_t)((re + t.re) >> scale);
        top->im = (int16_t)((im + t.im) >> scale);
        bottom->re = (int16_t)((re - t.re) >> scale);
        bottom->im = (int16_t)((im - t.im) >> scale);
      }
  }
  return exponent;
}

static int inverse(Complex* x) {
  for (int k = 0; k < N; k++) x[k].im = (int16_t)-x[k].im;
  int exponent = transform(x);
  for (int k = 0; k < N; k++) x[k].im = (int16_t)-x[k].im;
  return exponent;
}

static int32_t root(int32_t x) {
  int32_t r = 0, bit = 1L << 30;
  while (bit > x) bit >>= 2;
  for (; bit; bit >>= 2) {
    if (x >= r + bit) {
      x -= r + bit;
      r = (r >> 1) + bit;
    } else {
      r >>= 1;
    }
  }
  return r;
}

int main(void) {
  uint32_t sum = 0;
  make_twiddles();
  for (int round = 1; round <= 6; round++) {
    for (int k = 0; k < N; k++) {
      int square = (k * round / 8) & 1 ? 6000 : -6000;
      data[k].re = copy[k].re = (int16_t)(square + (int)(next_random() % 200));
      data[k].im = copy[k].im = 0;
    }
    int forwards = transform(data), peak = 0;
    int32_t most = 0;
    for (int k = 1; k < N / 2; k++) {
      int32_t power = root((int32_t)data[k].re * data[k].re / 2 + (int32_t)data[k].im * data[k].im / 2);
      sum = mix(sum, (uint32_t)power);
      if (power > most) most = power, peak = k;
    }
    printf("round %d peak %d scale %d\n", round, peak, forwards);
    int backwards = inverse(data), worst = 0;
    /* Both directions together multiply by N and divide by the scalings. */
    int shift = forwards + backwards - LOG2N;
    for (int k = 0; k < N; k++) {
      int32_t back = shift >= 0 ? (int32_t)data[k].re << shift : (int32_t)data[k].re >> -shift;
      int32_t error = back - copy[k].re;
      if (error < 0) error = -error;
      if (error > worst) worst = (int)error;
    }
    expect("round trip is close", worst < 80, 1);
  }
  expect("spectra", sum, 0x10854A03);
  return finish();
}
