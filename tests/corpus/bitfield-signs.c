#include <stdio.h>

/* How fields take part in arithmetic: by their width, not by their declared type. */
static int failures;
#define CHECK(e) ((e) ? (void)0 : (void)(failures++, printf("line %d: %s\n", __LINE__, #e)))
struct s { unsigned u5 : 5; int s5 : 5; unsigned u16 : 16; int s16 : 16; unsigned long u20 : 20; long s20 : 20; unsigned long u9 : 9; _Bool b : 1; };
static volatile int minus = -1;

int main(void) {
  struct s x = {31, -1, 65535u, -1, 0xFFFFF, -1, 511, 5};
  CHECK(x.u5 > minus);          /* int */
  CHECK(x.s5 == minus);
  CHECK(!(x.u16 > minus));      /* unsigned: both 65535 */
  CHECK(x.s16 == minus);
  CHECK(!(x.u20 > (unsigned long)minus));
  CHECK(x.u20 == 1048575L && x.s20 == -1);
  CHECK(x.u9 > minus);          /* int */
  CHECK(!((unsigned)x.u5 > minus) && minus / (unsigned)x.u5 == 2114); /* a cast is no field */
  CHECK((x.u5 ?: 1u) == 31 && (x.u9 ?: 1) > minus);
  CHECK(x.b == 1 && -x.b == minus);
  CHECK(x.u5 - 32 < 0);
  CHECK(x.u5 << 11 == (int)0xF800);
  CHECK(-x.u5 / 2 == -15);
  CHECK(sizeof(x.u20 + 0) == 2 && sizeof(x.u9 + 0) == 1 && sizeof(+x.u5) == 1);
  x.u5 /= -4;
  CHECK(x.u5 == 25);            /* -7, cut */
  x.u5 = 30; x.u5 %= -7;
  CHECK(x.u5 == 2);
  x.u5 = 20; x.u5 >>= 1; x.u5 -= 11;
  CHECK(x.u5 == 31);
  x.s5 = 16;
  CHECK(x.s5 == -16);
  x.s5--;
  CHECK(x.s5 == 15);
  CHECK((x.s5 += 3) == -14);
  CHECK((x.u5 = 33) == 1);
  CHECK(x.u5++ == 1 && ++x.u5 == 3);
  x.u20 *= x.u20;
  CHECK(x.u20 == 1);
  x.b = 0; x.b |= 6;
  CHECK(x.b == 1);
  x.b ^= 1;
  CHECK(!x.b);
  float f = x.u9;
  x.u9 += 0.75f;
  CHECK(f == 511.0f && x.u9 == 511);
  printf("failures %d\n", failures);
  return failures;
}
