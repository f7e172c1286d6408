// host
/* Speech through logarithmic companding and an adaptive predictor, and a frame format around it. */
#include "work.h"
#include <string.h>

enum { FRAME = 160, FRAMES = 14 };

typedef struct {
  int16_t predicted;
  int16_t index;
} Adaptive;

static const int16_t steps[49] = {
  16, 17, 19, 21, 23, 25, 28, 31, 34, 37, 41, 45, 50, 55, 60, 66, 73, 80, 88, 97, 107, 118, 130, 143, 157,
  173, 190, 209, 230, 253, 279, 307, 337, 371, 408, 449, 494, 544, 598, 658, 724, 796, 876, 963, 1060, 1166,
  1282, 1411, 1552};
static const signed char moves[8] = {-1, -1, -1, -1, 2, 4, 6, 8};

static unsigned char compress(int16_t sample) {
  int sign = sample < 0 ? 0x80 : 0;
  int32_t magnitude = sample < 0 ? -(int32_t)sample : sample;
  int exponent = 7;
  if (magnitude > 32635) magnitude = 32635;
  magnitude += 132;
  for (int32_t mask = 0x4000; !(magnitude & mask) && exponent > 0; mask >>= 1) exponent--;
  int mantissa = (int)(magnitude >> (exponent + 3)) & 0x0F;
  return (unsigned char)(~(sign | exponent << 4 | mantissa) & 0xFF);
}

static int16_t expand(unsigned char code) {
  code = (unsigned char)(~code & 0xFF);
  int exponent = code >> 4 & 7;
  int32_t magnitude = ((((int32_t)code & 0x0F) << 3) + 132) << exponent;
  magnitude -= 132;
  return (int16_t)(code & 0x80 ? -magnitude : magnitude);
}

static int16_t clamp(int32_t x, int16_t low, int16_t high) {
  return (int16_t)(x < low ? low : x > high ? high : x);
}

static void adapt(Adaptive* a, int code) {
  int32_t step = steps[a->index], difference = step >> 3;
  if (code & 4) difference += step;
  if (code & 2) difference += step >> 1;
  if (code & 1) difference += step >> 2;
  if (code & 8) difference = -difference;
  a->predicted = clamp(a->predicted + difference, -32767, 32767);
  a->index = clamp(a->index + moves[code & 7], 0, 48);
}

static int encode(Adaptive* a, int16_t sample) {
  int32_t difference = (int32_t)sample - a->predicted, step = steps[a->index];
  int code = 0;
  if (difference < 0) {
    code = 8;
    difference = -difference;
  }
  for (int bit = 4; bit; bit >>= 1, step >>= 1)
    if (difference >= step) {
      code |= bit;
      difference -= step;
    }
  adapt(a, code);
  return code;
}

struct frame {
  unsigned char kind, length;
  int16_t start, index;
  unsigned char payload[FRAME];
  uint16_t check;
};

static uint16_t check_of(const struct frame* f, int bytes) {
  uint16_t a = 1, b = 0;
  for (int k = 0; k < bytes; k++) {
    a = (uint16_t)((a + f->payload[k]) % 251);
    b = (uint16_t)((b + a) % 251);
  }
  return (uint16_t)(b << 8 | a);
}

static int pack(struct frame* f, Adaptive* a, const int16_t* in, int adaptive) {
  int bytes = adaptive ? FRAME / 2 : FRAME;
  f->kind = (unsigned char)adaptive;
  f->length = (unsigned char)bytes;
  f->start = a->predicted;
  f->index = a->index;
  for (int k = 0; k < FRAME; k++) {
    if (!adaptive) {
      f->payload[k] = compress(in[k]);
      continue;
    }
    int code = encode(a, in[k]);
    if (k & 1) f->payload[k / 2] |= (unsigned char)(code << 4);
    else f->payload[k / 2] = (unsigned char)code;
  }
  f->check = check_of(f, bytes);
  return bytes;
}

static int unpack(const struct frame* f, int16_t* out) {
  Adaptive a;
  a.predicted = f->start;
  a.index = f->index;
  if (f->check != check_of(f, f->length)) return 0;
  for (int k = 0; k < FRAME; k++) {
    if (!f->kind) {
      out[k] = expand(f->payload[k]);
    } else {
      adapt(&a, f->payload[k / 2] >> (k & 1 ? 4 : 0) & 15);
      out[k] = a.predicted;
    }
  }
  return 1;
}

static struct frame frames[FRAMES];
static int16_t speech[FRAMES][FRAME], heard[FRAME];

int main(void) {
  Adaptive coder = {0, 0};
  int32_t level = 0, rate = 40, bytes = 0, worst = 0;
  uint32_t sum = 0;
  int damaged = 0;
  for (int n = 0; n < FRAMES; n++)
    for (int k = 0; k < FRAME; k++) {
      level += rate;
      if (level > 3000 || level < -3000) rate = -rate * 5 / 6 - (int32_t)(next_random() % 9);
      if (rate > -9 && rate < 9) rate = 60;
      speech[n][k] = (int16_t)(level * 3 + (int32_t)(next_random() % 64));
    }
  for (int n = 0; n < FRAMES; n++) bytes += pack(&frames[n], &coder, speech[n], n % 3 != 0);
  frames[5].payload[17] ^= 4;
  for (int n = 0; n < FRAMES; n++) {
    if (!unpack(&frames[n], heard)) {
      damaged++;
      continue;
    }
    for (int k = 0; k < FRAME; k++) {
      int32_t error = (int32_t)speech[n][k] - heard[k];
      if (error < 0) error = -error;
      if (k > 40 && error > worst) worst = error;
      sum = mix(sum, (uint32_t)heard[k] & 0xFFFF);
    }
  }
  for (int32_t v = -32000; v <= 32000; v += 97) { /* companding is exact on what it has given once */
    int16_t once = expand(compress((int16_t)v));
    if (expand(compress(once)) != once) work_faults++;
  }
  expect("bytes", (uint32_t)bytes, 14 * 80 + 5 * 80);
  expect("damaged", (uint32_t)damaged, 1);
  expect("samples", sum, 0x1E3223AD);
  expect("close", worst < 4000, 1);
  return finish();
}
