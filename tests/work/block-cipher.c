// host
/* A block cipher on bytes with tables made by arithmetic, in two modes, against known vectors. */
#include "work.h"
#include <string.h>

typedef unsigned char byte;
typedef byte State[4][4]; /* columns */

static byte forward[256], backward[256];
static byte schedule[11][4][4];

static byte twice(byte x) { return (byte)((x << 1 ^ (x & 0x80 ? 0x1B : 0)) & 0xFF); }

static byte multiply(byte a, byte b) {
  byte r = 0;
  for (; b; b >>= 1, a = twice(a))
    if (b & 1) r ^= a;
  return r;
}

static byte rotate8(byte x, int n) { return (byte)((x << n | x >> (8 - n)) & 0xFF); }

static void make_boxes(void) {
  byte p = 1, q = 1;
  do { /* p and q stay inverse to each other */
    p = (byte)(p ^ twice(p));
    q ^= (byte)(q << 1 & 0xFF);
    q ^= (byte)(q << 2 & 0xFF);
    q ^= (byte)(q << 4 & 0xFF);
    if (q & 0x80) q ^= 9;
    forward[p] = (byte)(q ^ rotate8(q, 1) ^ rotate8(q, 2) ^ rotate8(q, 3) ^ rotate8(q, 4) ^ 0x63);
  } while (p != 1);
  forward[0] = 0x63;
  for (int k = 0; k < 256; k++) backward[forward[k]] = (byte)k;
}

static void expand_key(const byte key[16]) {
  byte* out = &schedule[0][0][0];
  byte round = 1;
  memcpy(out, key, 16);
  for (int k = 16; k < 176; k += 4) {
    byte t[4];
    memcpy(t, out + k - 4, 4);
    if (k % 16 == 0) {
      byte first = t[0];
      t[0] = forward[t[1]] ^ round;
      t[1] = forward[t[2]];
      t[2] = forward[t[3]];
      t[3] = forward[first];
      round = twice(round);
    }
    for (int i = 0; i < 4; i++) out[k + i] = out[k - 16 + i] ^ t[i];
  }
}

static void add_key(State s, int round) {
  for (int c = 0; c < 4; c++)
    for (int r = 0; r < 4; r++) s[c][r] ^= schedule[round][c][r];
}

static void substitute(State s, const byte* box) {
  for (int c = 0; c < 4; c++)
    for (int r = 0; r < 4; r++) s[c][r] = box[s[c][r]];
}

static void shift_rows(State s, int by) {
  for (int r = 1; r < 4; r++) {
    byte row[4];
    for (int c = 0; c < 4; c++) row[c] = s[(c + by * r + 4) & 3][r];
    for (int c = 0; c < 4; c++) s[c][r] = row[c];
  }
}

static void mix_columns(State s, const byte by[4]) {
  for (int c = 0; c < 4; c++) {
    byte in[4];
    memcpy(in, s[c], sizeof in);
    for (int r = 0; r < 4; r++) {
      s[c][r] = 0;
      for (int k = 0; k < 4; k++) s[c][r] ^= multiply(in[(r + k) & 3], by[k]);
    }
  }
}

static void encrypt(byte block[16]) {
  static const byte by[4] = {2, 3, 1, 1};
  State s;
  memcpy(s, block, sizeof s);
  add_key(s, 0);
  for (int round = 1; round <= 10; round++) {
    substitute(s, forward);
    shift_rows(s, 1);
    if (round < 10) mix_columns(s, by);
    add_key(s, round);
  }
  memcpy(block, s, sizeof s);
}

static void decrypt(byte block[16]) {
  static const byte by[4] = {14, 11, 13, 9};
  State s;
  memcpy(s, block, sizeof s);
  for (int round = 10; round >= 1; round--) {
    add_key(s, round);
    if (round < 10) mix_columns(s, by);
    shift_rows(s, -1);
    substitute(s, backward);
  }
  add_key(s, 0);
  memcpy(block, s, sizeof s);
}

static void chain(byte* data, int blocks, const byte start[16], int decode) {
  byte last[16], kept[16];
  memcpy(last, start, 16);
  for (; blocks-- > 0; data += 16) {
    if (decode) {
      memcpy(kept, data, 16);
      decrypt(data);
    }
    for (int k = 0; k < 16; k++) data[k] ^= last[k];
    if (!decode) {
      encrypt(data);
      memcpy(last, data, 16);
    } else {
      memcpy(last, kept, 16);
    }
  }
}

static void count_mode(byte* data, int n, uint32_t from) {
  byte pad[16];
  for (int k = 0; k < n; k++) {
    if (k % 16 == 0) {
      memset(pad, 0, sizeof pad);
      for (int i = 0; i < 4; i++) pad[15 - i] = (byte)(from >> (8 * i) & 0xFF);
      from++;
      encrypt(pad);
    }
    data[k] ^= pad[k % 16];
  }
}

static uint32_t word(const byte* p) {
  return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3];
}

int main(void) {
  static const byte key[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  byte block[16], start[16] = {9, 8, 7};
  static byte message[96], original[96];
  make_boxes();
  expand_key(key);
  for (int k = 0; k < 16; k++) block[k] = (byte)(k * 17);
  encrypt(block);
  expect("known", word(block), 0x69C4E0D8u);
  expect("known, end", word(block + 12), 0x70B4C55Au);
  decrypt(block);
  expect("back", word(block), 0x00112233u);
  for (int k = 0; k < 96; k++) original[k] = message[k] = (byte)(k * k & 0xFF);
  chain(message, 6, start, 0);
  expect("chained", word(message + 80), 0xD49A7724);
  chain(message, 6, start, 1);
  expect("unchained", memcmp(message, original, 96) == 0, 1);
  count_mode(message, 77, 1000);
  expect("counted", word(message + 40), 0x05F6E765);
  count_mode(message, 77, 1000);
  expect("uncounted", memcmp(message, original, 96) == 0, 1);
  return finish();
}
