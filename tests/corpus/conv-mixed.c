#include <stdio.h>
#include <stdbool.h>

volatile int i = -3;
volatile unsigned u = 40000u;
volatile long l = -100000L;
volatile unsigned long ul = 3000000000uL;
volatile long long ll = -5000000000LL;
volatile float f = -2.75f;
volatile long double ld = 123456789.5L;

static long widen(long x) { return x; }
static unsigned narrow(unsigned x) { return x; }
static float real(float x) { return x; }

int main(void) {
  printf("%ld %ld\n", (long)i, (long)u);
  printf("%d %u\n", (int)l, (unsigned)l);
  printf("%ld %lu\n", (long)ul, (unsigned long)i);
  printf("%lld %llu\n", (long long)ul, (unsigned long long)l);
  printf("%ld %d\n", (long)ll, (int)ll);
  printf("%d %ld %u\n", (int)f, (long)f, (unsigned)-f);
  printf("%ld %lld\n", (long)ld, (long long)(ld * 1000));
  printf("%d %d %d\n", (bool)f, (bool)0.0f, (bool)l);
  printf("%ld %u\n", widen(u), narrow(l));
  printf("%d\n", real(u) == 40000.0f && real(i) == -3.0f && real(ul) == 3000000000.0f);
  bool b = 256;
  b += 5;
  printf("%d ", b);
  b--;
  printf("%d ", b);
  b++;
  b++;
  printf("%d ", b);
  b ^= 1;
  printf("%d\n", b);
  char c = 'a';
  c += 1.9f;
  printf("%c %d\n", c, (int)sizeof(c + c));
  short s = 32767;
  s += 1;
  printf("%d\n", s);
  i *= 2.5f;
  printf("%d\n", i);
  u /= -1;
  printf("%u\n", u);
  l += u;
  l <<= 2;
  printf("%ld\n", l);
  return 0;
}
