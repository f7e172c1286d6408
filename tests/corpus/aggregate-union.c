#include <stdio.h>
#include <string.h>

/* Views of one object, at the target's widths and in its order. */
union view { long l; int i[2]; unsigned u[2]; float f; char c[2]; unsigned long long q; };
struct variant { enum { INT, REAL, TEXT } tag; union { long i; float f; char text[6]; }; };
struct tail { int n; long items[]; };
union mixed { struct { int a, b; } s; struct { int a; union { int b; char c; }; } t; };

static struct variant make(int k) {
  struct variant v = {k % 3};
  switch (v.tag) {
  case INT: v.i = k * 100000L; break;
  case REAL: v.f = k + 0.5f; break;
  case TEXT: strcpy(v.text, "abc"); v.text[0] += k; break;
  }
  return v;
}

int main(void) {
  union view v = {0x12345678L};
  printf("%x %x %d\n", v.u[0], v.u[1], v.i[0] == v.c[0]);
  v.f = 1.0f;
  printf("%lx\n", v.l);
  v.q = 0x1122334455667788uLL;
  printf("%lx %d\n", v.l, (int)sizeof v);
  v.i[1] = -1;
  printf("%ld\n", v.l >> 16);
  for (int k = 0; k < 6; k++) {
    struct variant x = make(k);
    if (x.tag == INT) printf("%ld ", x.i);
    else if (x.tag == REAL) printf("%.1f ", x.f);
    else printf("%s ", x.text);
  }
  printf("%d\n", (int)sizeof(struct variant));
  long store[4];
  struct tail* t = (struct tail*)store;
  t->n = 3;
  for (int k = 0; k < t->n; k++) t->items[k] = 70000L * k;
  printf("%d %ld %ld\n", (int)sizeof *t, store[2], t->items[2]);
  union mixed m = {.t = {5, {.c = 6}}};
  printf("%d %d\n", m.s.a, m.s.b);
  return 0;
}
