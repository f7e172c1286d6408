// host
/* Message digests in words of 32 bits with known results, keyed digests, and a chain of them. */
#include "work.h"
#include <string.h>

typedef struct {
  uint32_t h[8];
  unsigned char block[64];
  int used;
  uint32_t length;
} Digest;

static const uint32_t k[64] = {
  0x428a2f98u, 0x71374491u, 0xb5c0fbcfu, 0xe9b5dba5u, 0x3956c25bu, 0x59f111f1u, 0x923f82a4u, 0xab1c5ed5u,
  0xd807aa98u, 0x12835b01u, 0x243185beu, 0x550c7dc3u, 0x72be5d74u, 0x80deb1feu, 0x9bdc06a7u, 0xc19bf174u,
  0xe49b69c1u, 0xefbe4786u, 0x0fc19dc6u, 0x240ca1ccu, 0x2de92c6fu, 0x4a7484aau, 0x5cb0a9dcu, 0x76f988dau,
  0x983e5152u, 0xa831c66du, 0xb00327c8u, 0xbf597fc7u, 0xc6e00bf3u, 0xd5a79147u, 0x06ca6351u, 0x14292967u,
  0x27b70a85u, 0x2e1b2138u, 0x4d2c6dfcu, 0x53380d13u, 0x650a7354u, 0x766a0abbu, 0x81c2c92eu, 0x92722c85u,
  0xa2bfe8a1u, 0xa81a664bu, 0xc24b8b70u, 0xc76c51a3u, 0xd192e819u, 0xd6990624u, 0xf40e3585u, 0x106aa070u,
  0x19a4c116u, 0x1e376c08u, 0x2748774cu, 0x34b0bcb5u, 0x391c0cb3u, 0x4ed8aa4au, 0x5b9cca4fu, 0x682e6ff3u,
  0x748f82eeu, 0x78a5636fu, 0x84c87814u, 0x8cc70208u, 0x90befffau, 0xa4506cebu, 0xbef9a3f7u, 0xc67178f2u};

#define ROTATE(x, n) ((x) >> (n) | (x) << (32 - (n)))
#define CHOOSE(x, y, z) (((x) & (y)) ^ (~(x) & (z)))
#define MAJORITY(x, y, z) (((x) & (y)) ^ ((x) & (z)) ^ ((y) & (z)))

static uint32_t big0(uint32_t x) { return ROTATE(x, 2) ^ ROTATE(x, 13) ^ ROTATE(x, 22); }
static uint32_t big1(uint32_t x) { return ROTATE(x, 6) ^ ROTATE(x, 11) ^ ROTATE(x, 25); }
static uint32_t small0(uint32_t x) { return ROTATE(x, 7) ^ ROTATE(x, 18) ^ x >> 3; }
static uint32_t small1(uint32_t x) { return ROTATE(x, 17) ^ ROTATE(x, 19) ^ x >> 10; }

static void begin(Digest* d) {
  static const uint32_t start[8] = {0x6a09e667u, 0xbb67ae85u, 0x3c6ef372u, 0xa54ff53au,
                                    0x510e527fu, 0x9b05688cu, 0x1f83d9abu, 0x5be0cd19u};
  memcpy(d->h, start, sizeof start);
  d->used = 0;
  d->length = 0;
}

static void absorb(Digest* d) {
  uint32_t w[64], s[8];
  for (int i = 0; i < 16; i++)
    w[i] = (uint32_t)d->block[4 * i] << 24 | (uint32_t)d->block[4 * i + 1] << 16 |
           (uint32_t)d->block[4 * i + 2] << 8 | d->block[4 * i + 3];
  for (int i = 16; i < 64; i++) w[i] = small1(w[i - 2]) + w[i - 7] + small0(w[i - 15]) + w[i - 16];
  memcpy(s, d->h, sizeof s);
  for (int i = 0; i < 64; i++) {
    uint32_t t1 = s[7] + big1(s[4]) + CHOOSE(s[4], s[5], s[6]) + k[i] + w[i];
    uint32_t t2 = big0(s[0]) + MAJORITY(s[0], s[1], s[2]);
    for (int j = 7; j > 0; j--) s[j] = s[j - 1];
    s[4] += t1;
    s[0] = t1 + t2;
  }
  for (int i = 0; i < 8; i++) d->h[i] += s[i];
  d->used = 0;
}

static void put_byte(Digest* d, unsigned char c) {
  d->block[d->used++] = c;
  if (d->used == 64) absorb(d);
}

static void feed(Digest* d, const unsigned char* bytes, int n) {
  d->length += (uint32_t)n;
  for (int i = 0; i < n; i++) put_byte(d, bytes[i]);
}

static void end(Digest* d, unsigned char out[32]) {
  uint32_t bits = d->length * 8;
  put_byte(d, 0x80);
  while (d->used != 56) put_byte(d, 0);
  for (int i = 0; i < 4; i++) put_byte(d, 0);
  for (int i = 24; i >= 0; i -= 8) put_byte(d, (unsigned char)(bits >> i & 0xFF));
  for (int i = 0; i < 32; i++) out[i] = (unsigned char)(d->h[i / 4] >> (24 - 8 * (i % 4)) & 0xFF);
}

static void digest_of(const char* text, unsigned char out[32]) {
  Digest d;
  begin(&d);
  feed(&d, (const unsigned char*)text, (int)strlen(text));
  end(&d, out);
}

static void keyed(const char* key, const unsigned char* text, int n, unsigned char out[32]) {
  unsigned char pad[64];
  Digest d;
  for (int turn = 0; turn < 2; turn++) {
    int size = (int)strlen(key);
    for (int i = 0; i < 64; i++) pad[i] = (unsigned char)((i < size ? key[i] : 0) ^ (turn ? 0x5C : 0x36));
    begin(&d);
    feed(&d, pad, 64);
    if (turn) feed(&d, out, 32);
    else feed(&d, text, n);
    end(&d, out);
  }
}

static uint32_t word(const unsigned char* p) {
  return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3];
}

int main(void) {
  unsigned char out[32], big[200];
  digest_of("abc", out);
  expect("abc", word(out), 0xBA7816BFu);
  expect("abc, end", word(out + 28), 0xF20015ADu);
  digest_of("", out);
  expect("empty", word(out), 0xE3B0C442u);
  digest_of("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", out);
  expect("two blocks", word(out), 0x248D6A61u);
  keyed("Jefe", (const unsigned char*)"what do ya want for nothing?", 28, out);
  expect("keyed", word(out), 0x5BDCC146u);
  for (int i = 0; i < 200; i++) big[i] = (unsigned char)(i * 7 & 0xFF);
  for (int round = 0; round < 6; round++) {
    keyed("chain", big, 200 - round * 9, out);
    memcpy(big + round * 20, out, 32);
  }
  expect("chain", word(out), 0x527A6AF3);
  return finish();
}
