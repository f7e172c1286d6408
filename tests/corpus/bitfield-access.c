// host
#include <stdio.h>

struct flags { unsigned a : 3; int b : 5; unsigned c : 1; unsigned d : 7; int e : 9; unsigned short f : 4; };
static struct flags g = {5, -3, 1, 100, -200, 9};

static void show(const struct flags* f) { printf("%u %d %u %u %d %u\n", f->a, f->b, f->c, f->d, f->e, f->f); }
static struct flags twist(struct flags f) { f.a ^= 7; f.b = -f.b; f.e /= 3; return f; }

int main(void) {
  show(&g);
  struct flags l = g, *p = &l;
  l.a += 6; l.b -= 14; l.c++; l.d <<= 1; l.e *= 2; l.f |= 2;
  show(&l);
  show(p);
  p->a--; ++p->b; p->c--; p->d >>= 2; p->e %= 7; p->f &= ~1;
  show(p);
  printf("%d ", l.a++); printf("%d %d\n", l.a, (l.b = 17));
  l = twist(l);
  show(&l);
  printf("%d %d\n", l.a - 8 < 0, g.a < -1);
  printf("%d %d\n", twist(g).b, l.d + l.e);
  l.d = 77; l.d /= -2 + 0 * l.c;
  printf("%d\n", l.d);
  l.d = 127; l.a = 8; l.e = 255; l.e++;
  show(&l);
  struct { unsigned x : 2, : 3, y : 4; } t = {3, 9};
  t.y = t.x + 10;
  printf("%d %d\n", t.x, t.y);
  int i = 300;
  l.b = l.a = i;
  printf("%d %d\n", l.a, l.b);
  return 0;
}
