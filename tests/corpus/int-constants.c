#include <limits.h>
#include <stddef.h>
#include <stdio.h>

/* Constant expressions use the target's sizes wherever the language asks for a constant. */
struct pair { char c; long l; char d; };
enum { SIZE = sizeof(struct pair), OFFSET = offsetof(struct pair, l), BITS = CHAR_BIT * sizeof(long) };
enum big { SMALL = -1, LARGE = 40000 };
enum wide { TOP = 65535u, NEXT };
_Static_assert(sizeof(int) == 1 && sizeof(void*) == 2, "sizes");
_Static_assert(sizeof(long long) * CHAR_BIT == 64, "bits");
static char buffer[sizeof(struct pair) + 1];
static int by_index[4] = {[sizeof(char)] = 7};
static unsigned wrapped = 65535u + 1u;
static long sum = 32767 + 1L;
static const int quotient = -7 / 2, remainder_ = -7 % 2;
static float third = 1.0f / 3;
static int chosen = sizeof(char) == sizeof(int) ? 11 : 22;
static char* end = buffer + sizeof buffer - 1;
static long* inner = &((struct pair*)0)->l + 1;
typedef int row[sizeof(long long)];
static row rows[2];

static int pick(int n) {
  switch (n) {
  case sizeof(long): return 1;
  case sizeof(long long): return 2;
  case sizeof(int): return 3;
  case (int)sizeof(row) + 1: return 4;
  default: return 0;
  }
}

int main(void) {
  printf("%d %d %d\n", SIZE, OFFSET, BITS);
  printf("%d %ld %d %d\n", (int)sizeof(enum big), (long)LARGE, SMALL, (int)sizeof(enum wide));
  printf("%ld %u %ld %d %d\n", (long)NEXT, wrapped, sum, quotient, remainder_);
  printf("%d %d %d\n", (int)sizeof buffer, by_index[1], chosen);
  printf("%d %ld\n", (int)(end - buffer), (long)inner);
  printf("%d %d\n", (int)sizeof rows, (int)(sizeof rows / sizeof rows[0]));
  printf("%d %d %d %d %d\n", pick(2), pick(4), pick(1), pick(5), pick(9));
  printf("%d\n", third > 0.333f && third < 0.334f);
  return 0;
}
