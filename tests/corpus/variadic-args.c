#include <stdarg.h>
#include <stdio.h>

/* Arguments of all widths, in orders that need alignment. */
struct two { long l; int i; };
struct odd { int a, b, c; };

static long sum(const char* types, ...) {
  va_list list;
  long s = 0;
  va_start(list, types);
  for (; *types; types++)
    switch (*types) {
    case 'i': s += va_arg(list, int); break;
    case 'u': s += va_arg(list, unsigned); break;
    case 'l': s += va_arg(list, long); break;
    case 'q': s += (long)(va_arg(list, long long) >> 32); break;
    case 'f': s += (long)va_arg(list, double); break;
    case 'd': s += (long)va_arg(list, long double); break;
    case 'p': s += *va_arg(list, int*); break;
    case 's': s += va_arg(list, struct two).l; break;
    case 'o': s += va_arg(list, struct odd).c; break;
    }
  va_end(list);
  return s;
}
static int twice(int n, ...) {
  va_list a, b;
  int s = 0, i;
  va_start(a, n);
  va_copy(b, a);
  for (i = 0; i < n; i++) s += va_arg(a, int);
  for (i = 0; i < n; i++) s = s * 2 + va_arg(b, int);
  va_end(a);
  va_end(b);
  return s;
}
static int pass(va_list list) { return va_arg(list, int) * 10 + va_arg(list, int); }
static int forward(int first, long second, ...) {
  va_list list;
  va_start(list, second);
  int r = pass(list) + first + (int)second;
  va_end(list);
  return r;
}
static int after_struct(struct odd o, ...) {
  va_list list;
  va_start(list, o);
  long l = va_arg(list, long);
  return (int)l + o.c;
}

int main(void) {
  char c = 'c';
  short s = -2;
  float f = 2.5f;
  int five = 5;
  struct two t = {1000000L, 3};
  struct odd o = {1, 2, 3};
  printf("%ld\n", sum("ilil", 1, 100000L, 2, 200000L));
  printf("%ld\n", sum("iiiqu", c, s, 1, 5LL << 32, 40000u));
  printf("%ld\n", sum("fdifd", f, 3.5L, 7, 1.5, 100.0L));
  printf("%ld\n", sum("ipisiol", 1, &five, 2, t, 3, o, 4L));
  printf("%d %d %d\n", twice(3, 1, 2, 3), forward(1, 2L, 3, 4), after_struct(o, 77L));
  printf("%d %s %c %x %5d|%-5d|%05d %ld %u\n", -1, "text", 'x', 255, 42, 42, 42, -100000L, 65535u);
  return 0;
}
