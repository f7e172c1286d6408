// host
/* Codewords over a field of 256 elements: encoding, damage, and correction of up to eight bytes. */
#include "work.h"
#include <string.h>

#define PARITY 16
#define LENGTH 120
#define DATA (LENGTH - PARITY)

static unsigned char power[512], logarithm[256];
static unsigned char generator[PARITY + 1];

static void make_field(void) {
  unsigned x = 1;
  for (int k = 0; k < 255; k++) {
    power[k] = power[k + 255] = (unsigned char)x;
    logarithm[x] = (unsigned char)k;
    x <<= 1;
    if (x & 0x100) x ^= 0x11D;
  }
}

static inline unsigned char times(unsigned char a, unsigned char b) {
  return a && b ? power[logarithm[a] + logarithm[b]] : 0;
}
static inline unsigned char over(unsigned char a, unsigned char b) {
  return a ? power[logarithm[a] + 255 - logarithm[b]] : 0;
}

static void make_generator(void) {
  generator[0] = 1;
  for (int k = 0; k < PARITY; k++) {
    generator[k + 1] = 1;
    for (int i = k; i > 0; i--) generator[i] = generator[i - 1] ^ times(generator[i], power[k]);
    generator[0] = times(generator[0], power[k]);
  }
}

static void encode(unsigned char word[LENGTH]) {
  unsigned char rest[PARITY];
  memset(rest, 0, sizeof rest);
  for (int k = 0; k < DATA; k++) {
    unsigned char feedback = word[k] ^ rest[PARITY - 1];
    for (int i = PARITY - 1; i > 0; i--) rest[i] = rest[i - 1] ^ times(generator[i], feedback);
    rest[0] = times(generator[0], feedback);
  }
  for (int k = 0; k < PARITY; k++) word[DATA + k] = rest[PARITY - 1 - k];
}

static int syndromes(const unsigned char* word, unsigned char* s) {
  int any = 0;
  for (int k = 0; k < PARITY; k++) {
    unsigned char sum = 0;
    for (int i = 0; i < LENGTH; i++) sum = times(sum, power[k]) ^ word[i];
    s[k] = sum;
    any |= sum;
  }
  return any;
}

/* The shortest recurrence of the syndromes; gives its length. */
static int locator(const unsigned char* s, unsigned char* sigma) {
  unsigned char old[PARITY + 1], next[PARITY + 1], b = 1;
  int length = 0, gap = 1;
  memset(sigma, 0, PARITY + 1);
  memset(old, 0, sizeof old);
  sigma[0] = old[0] = 1;
  for (int n = 0; n < PARITY; n++) {
    unsigned char d = s[n];
    for (int i = 1; i <= length; i++) d ^= times(sigma[i], s[n - i]);
    if (!d) {
      gap++;
      continue;
    }
    memcpy(next, sigma, sizeof next);
    unsigned char scale = over(d, b);
    for (int i = gap; i <= PARITY; i++) next[i] ^= times(scale, old[i - gap]);
    if (2 * length <= n) {
      memcpy(old, sigma, sizeof old);
      length = n + 1 - length;
      b = d;
      gap = 1;
    } else {
      gap++;
    }
    memcpy(sigma, next, sizeof next);
  }
  return length;
}

static int correct(unsigned char* word) {
  unsigned char s[PARITY], sigma[PARITY + 1], omega[PARITY];
  if (!syndromes(word, s)) return 0;
  int errors = locator(s, sigma), found = 0;
  if (errors > PARITY / 2) return -1;
  for (int k = 0; k < PARITY; k++) {
    omega[k] = 0;
    for (int i = 0; i <= k; i++) omega[k] ^= times(s[k - i], sigma[i]);
  }
  for (int at = 0; at < LENGTH; at++) {
    int back = LENGTH - 1 - at; /* the power of the position */
    unsigned char inverse = power[(255 - back) % 255], value = 0, x = 1;
    for (int i = 0; i <= errors; i++, x = times(x, inverse)) value ^= times(sigma[i], x);
    if (value) continue;
    unsigned char top = 0, slope = 0;
    x = 1;
    for (int i = 0; i < PARITY; i++, x = times(x, inverse)) top ^= times(omega[i], x);
    x = 1;
    for (int i = 1; i <= errors; i += 2) {
      slope ^= times(sigma[i], x);
      x = times(x, times(inverse, inverse));
    }
    word[at] ^= times(power[back], over(top, slope));
    found++;
  }
  return found == errors && !syndromes(word, s) ? found : -1;
}

int main(void) {
  static unsigned char word[LENGTH], sent[LENGTH];
  uint32_t sum = 0;
  int repaired = 0, refused = 0;
  make_field();
  make_generator();
  for (int round = 0; round <= 10; round++) {
    for (int k = 0; k < DATA; k++) word[k] = (unsigned char)(next_random() & 255);
    encode(word);
    memcpy(sent, word, sizeof sent);
    for (int k = 0; k < PARITY; k++) sum = mix(sum, word[DATA + k]);
    for (int k = 0; k < round; k++) word[(k * 29 + round) % LENGTH] ^= (unsigned char)(1 + next_random() % 255);
    int result = correct(word);
    printf("%d damaged, result %d\n", round, result);
    if (result < 0) refused++;
    else if (!memcmp(word, sent, sizeof sent)) repaired++;
  }
  expect("parity", sum, 0x7E1B3C66);
  expect("repaired", (uint32_t)repaired, 9);
  expect("refused", (uint32_t)refused, 2);
  return finish();
}
