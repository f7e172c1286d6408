// host
/* A graphic equaliser of biquad sections in floats, with gains that are ramped while it runs. */
#include "work.h"
#include <math.h>

#define BANDS 6
#define CHANNELS 2

struct biquad { float b0, b1, b2, a1, a2; };
struct state { float x1, x2, y1, y2; };

struct band {
  struct biquad now;
  float frequency, q, gain, target;
  struct state channel[CHANNELS];
};

struct equaliser {
  struct band bands[BANDS];
  float rate;
  float peak[CHANNELS];
};

static struct biquad peaking(float rate, float frequency, float q, float gain) {
  /* `double` has 32 bits on the target, so that every step is rounded to float. */
  float a = (float)pow(10.0f, gain / 40.0f), w = 2 * 3.14159265f * frequency / rate;
  float sine = (float)sin(w), cosine = (float)cos(w);
  float alpha = sine / (2 * q), norm = 1 + alpha / a;
  struct biquad f;
  f.b0 = (1 + alpha * a) / norm;
  f.b1 = -2 * cosine / norm;
  f.b2 = (1 - alpha * a) / norm;
  f.a1 = f.b1;
  f.a2 = (1 - alpha / a) / norm;
  return f;
}

static inline float section(const struct biquad* f, struct state* s, float x) {
  float y = f->b0 * x + f->b1 * s->x1 + f->b2 * s->x2 - f->a1 * s->y1 - f->a2 * s->y2;
  s->x2 = s->x1;
  s->x1 = x;
  s->y2 = s->y1;
  s->y1 = y;
  return y;
}

static void set_gain(struct equaliser* e, int band, float gain) { e->bands[band].target = gain; }

static void init(struct equaliser* e, float rate) {
  float frequency = 100;
  e->rate = rate;
  for (int k = 0; k < BANDS; k++) {
    struct band* b = &e->bands[k];
    b->frequency = frequency;
    b->q = 1.4f;
    b->gain = b->target = 0;
    b->now = peaking(rate, frequency, b->q, 0);
    for (int c = 0; c < CHANNELS; c++) b->channel[c] = (struct state){0, 0, 0, 0};
    frequency *= 2;
  }
  for (int c = 0; c < CHANNELS; c++) e->peak[c] = 0;
}

static void ramp(struct equaliser* e) {
  for (int k = 0; k < BANDS; k++) {
    struct band* b = &e->bands[k];
    float distance = b->target - b->gain;
    if (distance == 0) continue;
    if (fabs(distance) < 0.5f) b->gain = b->target;
    else b->gain += distance * 0.25f;
    b->now = peaking(e->rate, b->frequency, b->q, b->gain);
  }
}

static void process(struct equaliser* e, float samples[][CHANNELS], int n) {
  for (int k = 0; k < n; k++)
    for (int c = 0; c < CHANNELS; c++) {
      float x = samples[k][c];
      for (int b = 0; b < BANDS; b++) x = section(&e->bands[b].now, &e->bands[b].channel[c], x);
      samples[k][c] = x;
      if (fabs(x) > e->peak[c]) e->peak[c] = (float)fabs(x);
    }
}

static float block[48][CHANNELS];

static float oscillator(float* phase, float step) {
  *phase += step;
  if (*phase > 1) *phase -= 2;
  float p = *phase;
  return 4 * p * (1 - (p < 0 ? -p : p)); /* a parabola for each half of the wave */
}

int main(void) {
  static struct equaliser e;
  float phases[3] = {0, 0.3f, -0.4f};
  uint32_t sum = 0;
  init(&e, 8000);
  set_gain(&e, 1, 6);
  set_gain(&e, 3, -9);
  for (int n = 0; n < 50; n++) {
    if (n == 25) set_gain(&e, 5, 12), set_gain(&e, 1, 0);
    for (int k = 0; k < 48; k++) {
      float a = oscillator(&phases[0], 0.05f), b = oscillator(&phases[1], 0.21f);
      block[k][0] = 0.5f * a + 0.25f * b;
      block[k][1] = 0.5f * b + 0.25f * oscillator(&phases[2], 0.4f);
    }
    process(&e, block, 48);
    ramp(&e);
    for (int k = 0; k < 48; k += 5)
      sum = mix(sum, (uint32_t)(int32_t)(block[k][0] * 10000) + (uint32_t)(int32_t)(block[k][1] * 10000));
  }
  printf("peaks %.3f %.3f\n", e.peak[0], e.peak[1]);
  expect("samples", sum, 0x77E57A0F);
  expect("gain reached", e.bands[1].gain == 0 && e.bands[5].gain == 12, 1);
  expect("stable", e.peak[0] < 4 && e.peak[1] < 4, 1);
  return finish();
}
