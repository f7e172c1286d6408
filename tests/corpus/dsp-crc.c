// host
#include <stdio.h>

static unsigned long table[256];

static unsigned crc16(const char* p, int n) {
  unsigned crc = 0xFFFF;
  while (n--) {
    crc ^= (unsigned)*p++ << 8;
    for (int k = 0; k < 8; k++) crc = (crc & 0x8000 ? crc << 1 ^ 0x1021 : crc << 1) & 0xFFFF;
  }
  return crc;
}
static void build(void) {
  for (int i = 0; i < 256; i++) {
    unsigned long c = i;
    for (int k = 0; k < 8; k++) c = c & 1 ? c >> 1 ^ 0xEDB88320uL : c >> 1;
    table[i] = c;
  }
}
static unsigned long crc32(const char* p, int n) {
  unsigned long c = 0xFFFFFFFFuL;
  for (int i = 0; i < n; i++) c = c >> 8 ^ table[(c ^ p[i]) & 0xFF];
  return c ^ 0xFFFFFFFFuL;
}
static unsigned long adler(const char* p) {
  unsigned long a = 1, b = 0;
  for (; *p; p++) { a = (a + *p) % 65521uL; b = (b + a) % 65521uL; }
  return b << 16 | a;
}
static int hamming_encode(int d) {
  int a = d & 1, b = d >> 1 & 1, c = d >> 2 & 1, e = d >> 3 & 1;
  return d | (a ^ b ^ e) << 4 | (a ^ c ^ e) << 5 | (b ^ c ^ e) << 6;
}

int main(void) {
  static const char text[] = "123456789";
  build();
  printf("%x %lx %lx %lx\n", crc16(text, 9), crc32(text, 9), table[255], adler("Wikipedia"));
  for (int i = 0; i < 16; i++) printf("%x ", hamming_encode(i));
  printf("\n");
  return 0;
}
