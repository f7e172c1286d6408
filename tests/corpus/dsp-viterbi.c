// host
#include <stdio.h>

/* Convolutional code of constraint length 3: encode, disturb, decode. */
#define BITS 40
#define STATES 4
static unsigned char path[BITS + 2][STATES];

static int parity(unsigned x) { x ^= x >> 2; x ^= x >> 1; return x & 1; }
static void encode(const int* in, int* out, int n) {
  unsigned s = 0;
  for (int i = 0; i < n; i++) { s = (s << 1 | in[i]) & 7; *out++ = parity(s & 7); *out++ = parity(s & 5); }
}
static int decode(const int* in, int* out, int n) {
  int metric[STATES] = {0, 100, 100, 100}, next[STATES];
  for (int i = 0; i < n; i++, in += 2) {
    for (int s = 0; s < STATES; s++) {
      next[s] = 1000;
      for (int old = 0; old < 2; old++) {
        unsigned from = s >> 1 | old << 1, reg = from << 1 | (s & 1);
        int m = metric[from] + (parity(reg & 7) != in[0]) + (parity(reg & 5) != in[1]);
        if (m < next[s]) { next[s] = m; path[i][s] = from; }
      }
    }
    for (int s = 0; s < STATES; s++) metric[s] = next[s];
  }
  int best = 0;
  for (int s = 1; s < STATES; s++) if (metric[s] < metric[best]) best = s;
  int errors = metric[best];
  for (int i = n - 1; i >= 0; i--) { out[i] = best & 1; best = path[i][best]; }
  return errors;
}

int main(void) {
  int message[BITS], code[2 * BITS], got[BITS], wrong = 0;
  for (int i = 0; i < BITS; i++) message[i] = (i * i + i / 3) % 5 > 2 && i < BITS - 2;
  encode(message, code, BITS);
  code[5] ^= 1; code[22] ^= 1; code[50] ^= 1;
  int errors = decode(code, got, BITS);
  for (int i = 0; i < BITS; i++) { wrong += got[i] != message[i]; putchar('0' + got[i]); }
  printf(" %d %d\n", errors, wrong);
  return 0;
}
