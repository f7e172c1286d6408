// host
#include <stdio.h>

#define TAPS 8
struct lms { float w[TAPS], x[TAPS]; float mu; int pos; };

static float step(struct lms* f, float in, float wanted) {
  float y = 0;
  f->x[f->pos] = in;
  for (int k = 0; k < TAPS; k++) y += f->w[k] * f->x[(f->pos - k) & (TAPS - 1)];
  float e = wanted - y;
  for (int k = 0; k < TAPS; k++) f->w[k] += f->mu * e * f->x[(f->pos - k) & (TAPS - 1)];
  f->pos = (f->pos + 1) & (TAPS - 1);
  return e;
}

int main(void) {
  static struct lms f = {.mu = 0.05f};
  static const float plant[TAPS] = {0.5f, -0.25f, 0.125f, 0.75f};
  float delay[TAPS] = {0}, late = 0;
  long seed = 12345;
  for (int i = 0; i < 600; i++) {
    seed = (seed * 1103L + 12345L) % 65536L;
    float in = (seed - 32768L) / 32768.0f, d = 0;
    for (int k = TAPS - 1; k > 0; k--) delay[k] = delay[k - 1];
    delay[0] = in;
    for (int k = 0; k < TAPS; k++) d += plant[k] * delay[k];
    float e = step(&f, in, d);
    if (i >= 500) late += e * e;
  }
  for (int k = 0; k < TAPS; k++) printf("%ld ", (long)(f.w[k] * 1000.0f + (f.w[k] < 0 ? -0.5f : 0.5f)));
  printf("%d\n", late < 0.001f);
  return 0;
}
