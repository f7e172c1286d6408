// host
#include <stdio.h>

struct small { int a; };
struct mixed { char c; long l; short s[3]; float f; };
struct nest { struct small in; struct mixed m[2]; union { int i; long l; } u; };

static struct mixed make(int k) {
  struct mixed m = {'a' + k, 1000L * k, {k, k + 1, k + 2}, k / 2.0f};
  return m;
}
static struct mixed change(struct mixed m) { m.l++; m.s[1] = -1; return m; }
static long total(struct mixed a, struct small b, const struct nest* n, struct nest by_value) {
  by_value.m[1].l = 7;
  return a.l + a.s[0] + a.s[1] + a.s[2] + b.a + n->m[0].l + n->m[1].s[2] + by_value.m[1].l + n->u.l;
}
static struct small chain(int n) { struct small s = {n}; return n > 0 ? chain(n - 1) : s; }
static void print(struct mixed m) { printf("%c %ld %d %d %d %.2f\n", m.c, m.l, m.s[0], m.s[1], m.s[2], m.f); }

int main(void) {
  struct mixed a = make(3), b = a, c;
  b.c = 'z';
  c = b = change(b);
  print(a); print(b); print(c); print(make(5));
  printf("%ld %c\n", make(7).l, change(make(2)).c);
  struct nest n = {{1}, {[1] = {.l = 50, .s = {[2] = 6}}, [0].c = 'q'}, .u.l = 300000L};
  struct nest copy = n;
  copy.m[0] = a;
  copy.m[1] = copy.m[0];
  print(n.m[0]); print(n.m[1]); print(copy.m[1]);
  printf("%ld %ld\n", total(a, (struct small){4}, &n, copy), n.m[1].l);
  struct nest* p = &copy;
  struct nest list[3] = {n, copy};
  list[2] = *p;
  p->m[0].s[0] = 99;
  printf("%d %d %d %d\n", list[2].m[0].s[0], p->m->s[0], chain(4).a, list[0].in.a);
  printf("%ld\n", (p->u.l > 5 ? a : b).l);
  int k = 1;
  struct small x[2] = {{1}, {2}};
  x[k] = x[k - 1]; k--;
  printf("%d %d %d\n", (x[0] = x[1], x[0].a), x[1].a, k);
  return 0;
}
