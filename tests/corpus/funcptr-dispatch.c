// host
#include <stdio.h>
#include <stdlib.h>

typedef int (*binary)(int, int);
static int add(int a, int b) { return a + b; }
static int sub(int a, int b) { return a - b; }
static int mul(int a, int b) { return a * b; }
static const struct { char name; binary f; } ops[] = {{'+', add}, {'-', sub}, {'*', mul}};
static binary find(char c) { for (unsigned i = 0; i < sizeof ops / sizeof *ops; i++) if (ops[i].name == c) return ops[i].f; return 0; }
static int (*choose(int k))(int, int) { return k ? &add : *mul; }
static int apply(int f(int, int), int n, int x) { while (n--) x = f(x, n); return x; }
struct object { int state; void (*step)(struct object*); };
static void twice(struct object* o);
static void once(struct object* o) { o->state += 1; o->step = twice; }
static void twice(struct object* o) { o->state *= 2; if (o->state > 20) o->step = 0; else o->step = once; }
static int by_last(const void* a, const void* b) { return *(const int*)a % 10 - *(const int*)b % 10; }
static int descending(const void* a, const void* b) { int x = *(const int*)a, y = *(const int*)b; return x < y ? 1 : x > y ? -1 : 0; }

int main(void) {
  printf("%d %d %d %d\n", find('+')(3, 4), (*find('-'))(3, 4), (**find('*'))(3, 4), find('/') == 0);
  printf("%d %d %d\n", choose(1)(5, 6), choose(0)(5, 6), apply(add, 5, 100) - apply(sub, 3, 1));
  struct object o = {1, once};
  int n = 0;
  while (o.step) { o.step(&o); n++; }
  printf("%d %d\n", o.state, n);
  int v[] = {31, 12, 55, 47, 9, 100, 73}, key = 55;
  qsort(v, 7, sizeof v[0], by_last);
  for (int i = 0; i < 7; i++) printf("%d ", v[i]);
  qsort(v, 7, sizeof v[0], descending);
  int* hit = bsearch(&key, v, 7, sizeof *v, descending);
  printf("%d %d %d\n", v[0], v[6], (int)(hit - v));
  binary f = find('+');
  printf("%d %d %d\n", f == add, f != &sub, (f ? f : sub)(1, 2));
  return 0;
}
