// host
/* Fixed-point filter bank: circular delay lines, a polyphase decimator, an interpolator. */
#include "work.h"
#include <string.h>

#define TAPS 32
#define PHASES 4
#define BLOCK 64

typedef struct {
  const int16_t* coefficients;
  int16_t delay[TAPS];
  int at;
  int taps;
} Filter;

typedef struct {
  Filter phase[PHASES];
  int16_t coefficients[PHASES][TAPS / PHASES];
} Polyphase;

static int16_t low_pass[TAPS], high_pass[TAPS];

static int16_t saturate(int32_t x) {
  if (x > 32767) return 32767;
  if (x < -32768L) return -32768L;
  return (int16_t)x;
}

static void design(void) {
  /* A triangle has a spectrum of the right shape and needs no tables. */
  for (int k = 0; k < TAPS; k++) {
    int32_t weight = k < TAPS / 2 ? k + 1 : TAPS - k;
    low_pass[k] = (int16_t)(weight * 32768 / (TAPS / 2 * (TAPS / 2 + 1)));
    high_pass[k] = k & 1 ? (int16_t)-low_pass[k] : low_pass[k];
  }
}

static void filter_init(Filter* f, const int16_t* coefficients, int taps) {
  memset(f->delay, 0, sizeof f->delay);
  f->coefficients = coefficients;
  f->taps = taps;
  f->at = 0;
}

static int16_t filter_step(Filter* f, int16_t in) {
  int32_t sum = 1 << 14;
  int at = f->at;
  f->delay[at] = in;
  for (int k = 0; k < f->taps; k++) {
    sum += (int32_t)f->coefficients[k] * f->delay[at];
    if (--at < 0) at = f->taps - 1;
  }
  if (++f->at >= f->taps) f->at = 0;
  return saturate(sum >> 15);
}

static void polyphase_init(Polyphase* p, const int16_t* prototype) {
  for (int phase = 0; phase < PHASES; phase++) {
    for (int k = 0; k < TAPS / PHASES; k++)
      p->coefficients[phase][k] = prototype[k * PHASES + phase];
    filter_init(&p->phase[phase], p->coefficients[phase], TAPS / PHASES);
  }
}

static int16_t decimate(Polyphase* p, const int16_t in[PHASES]) {
  int32_t sum = 0;
  for (int phase = 0; phase < PHASES; phase++)
    sum += filter_step(&p->phase[phase], in[PHASES - 1 - phase]);
  return saturate(sum);
}

static void interpolate(Polyphase* p, int16_t in, int16_t out[PHASES]) {
  for (int phase = 0; phase < PHASES; phase++)
    out[phase] = saturate((int32_t)filter_step(&p->phase[phase], in) * PHASES);
}

static int16_t input[BLOCK], band[2][BLOCK], thin[BLOCK / PHASES], wide[BLOCK];

static int32_t energy(const int16_t* x, int n) {
  int32_t sum = 0;
  for (int k = 0; k < n; k++) sum += ((int32_t)x[k] * x[k]) >> 8;
  return sum;
}

int main(void) {
  Filter low, high;
  Polyphase down, up;
  uint32_t sum = 0, bands = 0;
  int32_t low_energy = 0, high_energy = 0;
  design();
  filter_init(&low, low_pass, TAPS);
  filter_init(&high, high_pass, TAPS);
  polyphase_init(&down, low_pass);
  polyphase_init(&up, low_pass);
  int16_t slow = 0, step = 37;
  for (int block = 0; block < 30; block++) {
    for (int k = 0; k < BLOCK; k++) {
      slow = (int16_t)(slow + step);
      if (slow > 9000 || slow < -9000) step = (int16_t)-step;
      input[k] = (int16_t)(slow + (int16_t)(next_random() % 400) - 200);
    }
    for (int k = 0; k < BLOCK; k++) {
      band[0][k] = filter_step(&low, input[k]);
      band[1][k] = filter_step(&high, input[k]);
    }
    for (int k = 0; k < BLOCK / PHASES; k++) {
      thin[k] = decimate(&down, &input[k * PHASES]);
      interpolate(&up, thin[k], &wide[k * PHASES]);
    }
    low_energy += energy(band[0], BLOCK) >> 4;
    high_energy += energy(band[1], BLOCK) >> 4;
    for (int k = 0; k < BLOCK; k++) {
      bands = mix(bands, (uint16_t)(band[0][k] ^ band[1][k]));
      sum = mix(sum, (uint16_t)wide[k]);
    }
  }
  expect("bands", bands, 0xA0DE1549);
  expect("resampled", sum, 0xFEAD4EEF);
  expect("low energy", (uint32_t)low_energy, 0x00C48EE8);
  expect("high is less", high_energy < low_energy / 100, 1);
  return finish();
}
