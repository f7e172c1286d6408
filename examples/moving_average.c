/* A moving average over a ring buffer, in fixed point: the shape of many control loops. */
#include <stdio.h>

#define TAPS 8

struct filter {
  int ring[TAPS];
  int next;
  long sum;
};

static int step(struct filter *f, int sample) {
  f->sum += (long)sample - f->ring[f->next];
  f->ring[f->next] = sample;
  f->next = (f->next + 1) & (TAPS - 1);
  return (int)(f->sum / TAPS);
}

int main(void) {
  static struct filter f;
  int i, out = 0;
  for (i = 0; i < 100; i++) out = step(&f, (i & 1) ? 1000 : -200);
  printf("average of a square wave: %d\n", out);
  return out != 400;
}
