// host
#include <stdio.h>

static const int index_table[8] = {-1, -1, -1, -1, 2, 4, 6, 8};
static int step_table[49];
struct state { long value; int index; };

static int encode(struct state* s, int sample) {
  int step = step_table[s->index], code = 0;
  long diff = sample - s->value, delta = step >> 3;
  if (diff < 0) { code = 8; diff = -diff; }
  if (diff >= step) { code |= 4; diff -= step; delta += step; }
  if (diff >= step >> 1) { code |= 2; diff -= step >> 1; delta += step >> 1; }
  if (diff >= step >> 2) { code |= 1; delta += step >> 2; }
  s->value += code & 8 ? -delta : delta;
  if (s->value > 32767) s->value = 32767; else if (s->value < -32768) s->value = -32768;
  s->index += index_table[code & 7];
  if (s->index < 0) s->index = 0; else if (s->index > 48) s->index = 48;
  return code;
}
static int decode(struct state* s, int code) {
  int step = step_table[s->index];
  long delta = step >> 3;
  if (code & 4) delta += step;
  if (code & 2) delta += step >> 1;
  if (code & 1) delta += step >> 2;
  if (code & 8) delta = -delta;
  s->value += delta;
  if (s->value > 32767) s->value = 32767;
  if (s->value < -32768) s->value = -32768;
  s->index += index_table[code & 7];
  if (s->index < 0) s->index = 0;
  if (s->index > 48) s->index = 48;
  return (int)s->value;
}

int main(void) {
  long step = 7 * 256L;
  for (int i = 0; i < 49; i++) { step_table[i] = (int)(step >> 8); step += step / 10; }
  struct state e = {0}, d = {0};
  int worst = 0;
  for (int i = 0; i < 200; i++) {
    int t = i % 50, x = t < 25 ? t * 40 - 500 : 1500 - t * 40;
    int code = encode(&e, x), y = decode(&d, code), error = x > y ? x - y : y - x;
    if (error > worst && i > 30) worst = error;
    if (i % 10 == 0) printf("%x:%d ", code, y);
  }
  printf("%d %d\n", worst, e.value == d.value && e.index == d.index);
  return 0;
}
