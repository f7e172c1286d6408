// host
/* Checks of several widths by parameters: bit by bit, by table, and combined, with known results. */
#include "work.h"
#include <string.h>

struct check {
  const char* name;
  int width, reflected;
  uint32_t polynomial, start, final, known; /* known: of the digits 1 to 9 */
};

static const struct check checks[] = {
  {"plain 8", 8, 0, 0x07, 0, 0, 0xF4},
  {"modem 16", 16, 0, 0x1021, 0, 0, 0x31C3},
  {"false start 16", 16, 0, 0x1021, 0xFFFF, 0, 0x29B1},
  {"bus 16", 16, 1, 0x8005, 0xFFFF, 0, 0x4B37},
  {"link 16", 16, 1, 0x1021, 0xFFFF, 0xFFFF, 0x906E},
  {"radio 24", 24, 0, 0x864CFB, 0xB704CE, 0, 0x21CF02},
  {"frame 32", 32, 1, 0x04C11DB7u, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xCBF43926u},
  {"disk 32", 32, 0, 0x04C11DB7u, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFC891918u},
};

static uint32_t mirrored(uint32_t x, int bits) {
  uint32_t r = 0;
  while (bits-- > 0) {
    r = r << 1 | (x & 1);
    x >>= 1;
  }
  return r;
}

static uint32_t mask_of(const struct check* c) { return c->width == 32 ? 0xFFFFFFFFu : ((uint32_t)1 << c->width) - 1; }

static uint32_t by_bits(const struct check* c, const unsigned char* p, int n) {
  uint32_t sum = c->start, top = (uint32_t)1 << (c->width - 1);
  for (; n-- > 0; p++) {
    uint32_t in = c->reflected ? mirrored(*p, 8) : *p;
    for (int bit = 7; bit >= 0; bit--) {
      uint32_t out = (sum & top) != 0;
      sum = sum << 1 & mask_of(c);
      if (out ^ (in >> bit & 1)) sum ^= c->polynomial;
    }
  }
  if (c->reflected) sum = mirrored(sum, c->width);
  return sum ^ c->final;
}

static uint32_t table[256];

static void make_table(const struct check* c) {
  for (int k = 0; k < 256; k++) {
    uint32_t r;
    if (c->reflected) {
      uint32_t p = mirrored(c->polynomial, c->width);
      r = (uint32_t)k;
      for (int bit = 0; bit < 8; bit++) r = r & 1 ? r >> 1 ^ p : r >> 1;
    } else {
      r = (uint32_t)k << (c->width - 8);
      for (int bit = 0; bit < 8; bit++)
        r = (r >> (c->width - 1) & 1 ? r << 1 ^ c->polynomial : r << 1) & mask_of(c);
    }
    table[k] = r;
  }
}

static uint32_t by_table(const struct check* c, const unsigned char* p, int n) {
  uint32_t sum = c->reflected ? mirrored(c->start, c->width) : c->start;
  while (n-- > 0) {
    if (c->reflected) sum = sum >> 8 ^ table[(sum ^ *p++) & 0xFF];
    else sum = (sum << 8 & mask_of(c)) ^ table[(sum >> (c->width - 8) ^ *p++) & 0xFF];
  }
  return sum ^ c->final;
}

static uint32_t adding(const unsigned char* p, int n) {
  uint32_t a = 1, b = 0;
  while (n > 0) {
    int part = n < 300 ? n : 300;
    n -= part;
    while (part-- > 0) b += a += *p++;
    a %= 65521u;
    b %= 65521u;
  }
  return b << 16 | a;
}

static uint16_t ones_complement(const unsigned char* p, int n) {
  uint32_t sum = 0;
  for (; n > 1; n -= 2, p += 2) sum += (uint32_t)p[0] << 8 | p[1];
  if (n) sum += (uint32_t)p[0] << 8;
  while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
  return (uint16_t)(~sum & 0xFFFF);
}

static int luhn(const char* digits) {
  int sum = 0, n = (int)strlen(digits);
  for (int k = 0; k < n; k++) {
    int d = digits[n - 1 - k] - '0';
    if (k & 1 && (d *= 2) > 9) d -= 9;
    sum += d;
  }
  return sum % 10 == 0;
}

int main(void) {
  static unsigned char data[1024];
  const unsigned char* digits = (const unsigned char*)"123456789";
  uint32_t sum = 0;
  for (int k = 0; k < 1024; k++) data[k] = (unsigned char)(next_random() & 255);
  for (unsigned k = 0; k < sizeof checks / sizeof *checks; k++) {
    const struct check* c = &checks[k];
    make_table(c);
    printf("%s %06lx %06lx\n", c->name, (unsigned long)by_bits(c, digits, 9), (unsigned long)by_table(c, digits, 9));
    if (by_bits(c, digits, 9) != c->known || by_table(c, digits, 9) != c->known) work_faults++;
    uint32_t slow = by_bits(c, data, 200), fast = by_table(c, data, 200);
    if (slow != fast) work_faults++;
    sum = mix(sum, by_table(c, data, 1024));
    for (int bit = 0; bit < 64; bit++) { /* every damage of one bit is seen */
      data[bit * 3] ^= (unsigned char)(1 << (bit & 7));
      if (by_table(c, data, 200) == fast) work_faults++;
      data[bit * 3] ^= (unsigned char)(1 << (bit & 7));
    }
  }
  expect("adding", adding((const unsigned char*)"abc", 3), 0x024D0127u);
  expect("adding, long", adding(data, 1024), 0x883E0173);
  expect("ones", ones_complement(data, 1023), 0x000096B6);
  expect("card", luhn("79927398713") && !luhn("79927398714"), 1);
  expect("sums", sum, 0x79561849);
  return finish();
}
