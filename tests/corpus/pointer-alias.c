// host
#include <stdio.h>

/* The same functions on overlapping and on separate objects. */
static void add_all(int* to, const int* from, const int* k, int n) { for (int i = 0; i < n; i++) to[i] = from[i] + *k; }
static void add_restrict(int* restrict to, const int* restrict from, int k, int n) {
  for (int i = 0; i < n; i++) to[i] = from[i] + k;
}
static int twice(int* a, int* b) { *a = 1; *b = 2; *a += *b; return *a * 10 + *b; }
struct pair { int x, y; };
static int members(struct pair* p, int* q) { p->x = 3; *q = 9; p->y = p->x + 1; return p->x * 100 + p->y; }
union bits { int i[2]; struct pair p; };
static int through_union(union bits* u) { u->p.x = 5; u->i[0]++; return u->p.x; }
static int global, *alias = &global;
static int via_global(void) { global = 1; *alias = 2; return global; }
static void shift(short* a, int n) { for (int i = 0; i + 1 < n; i++) a[i + 1] = a[i]; }

int main(void) {
  int v[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  add_all(v + 1, v, &v[2], 6);
  for (int i = 0; i < 8; i++) printf("%d ", v[i]);
  add_restrict(v, v + 4, 100, 4);
  for (int i = 0; i < 8; i++) printf("%d ", v[i]);
  int a = 0, b = 0;
  printf("\n%d %d\n", twice(&a, &b), twice(&a, &a));
  struct pair p;
  printf("%d %d %d\n", members(&p, &a), members(&p, &p.x), members(&p, &p.y));
  union bits u;
  short w[5] = {9};
  shift(w, 5);
  printf("%d %d %d\n", through_union(&u), via_global(), w[4]);
  return 0;
}
