// host
#include <stdio.h>

/* Cascaded second-order sections, fixed and floating. */
struct section { short b[3], a[2]; long w[2]; };
static struct section cascade[3] = {{{1200, 2400, 1200}, {-20000, 9000}}, {{3000, -100, 3000}, {-15000, 12000}}, {{8000, 0, -8000}, {-1000, 4000}}};
struct biquad { float b0, b1, b2, a1, a2, z1, z2; };

static short filter(struct section* s, int n, short in) {
  long v = in;
  for (int k = 0; k < n; k++, s++) {
    long w = (v << 2) - (((s->w[0] >> 4) * s->a[0]) >> 10) - (((s->w[1] >> 4) * s->a[1]) >> 10);
    long out = ((w >> 4) * s->b[0] >> 10) + ((s->w[0] >> 4) * s->b[1] >> 10) + ((s->w[1] >> 4) * s->b[2] >> 10);
    s->w[1] = s->w[0];
    s->w[0] = w;
    v = out >> 3;
  }
  return (short)v;
}
static float run(struct biquad* q, float x) {
  float y = q->b0 * x + q->z1;
  q->z1 = q->b1 * x - q->a1 * y + q->z2;
  q->z2 = q->b2 * x - q->a2 * y;
  return y;
}

int main(void) {
  struct biquad q = {0.2f, 0.4f, 0.2f, -0.5f, 0.3f};
  for (int i = 0; i < 60; i++) {
    short in = i == 0 ? 8000 : i % 20 < 10 ? 500 : -500;
    short out = filter(cascade, 3, in);
    float y = run(&q, in / 1000.0f);
    if (i % 4 == 0) printf("%d/%ld ", out, (long)(y * 1000.0f));
  }
  printf("\n");
  return 0;
}
