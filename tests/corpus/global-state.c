// host
#include <stdio.h>

int shared = 5;
extern int later;
static int hidden;
int tentative;
int tentative;
static const int limits[] = {1, 10, 100};
extern int sizes[];
static int next(void) { static int n = 10; return n += 3; }
static int other(void) { static int n = 10; { static int n = 500; n++; return n; } return n; }
static int* keep(int v) { static int store[4], at; store[at] = v; return &store[at++ & 3]; }
static int shadow(int shared) { { int shared = 7; hidden += shared; } return shared + hidden; }
static void bump(void) { extern int shared; shared++; later -= 2; tentative += shared; }
volatile int port = 3;
static int poll(void) { int n = 0; while (port) { port--; n++; } return n; }
int later = 42;
int sizes[3] = {7, 8, 9};
static inline int square(int x) { return x * x; }
inline int cube(int x) { return x * square(x); }
extern int cube(int x);

int main(void) {
  printf("%d %d %d\n", next(), other(), shared);
  for (int i = 0; i < 3; i++) bump();
  int a = next(), b = other();
  printf("%d %d %d %d %d\n", a, b, shared, later, tentative);
  int *p = keep(1), *q = keep(2);
  printf("%d %d %d\n", *p, *q, p == q);
  a = shadow(100);
  printf("%d %d %d\n", a, hidden, limits[2] + sizes[1]);
  printf("%d %d %d\n", poll(), square(9), cube(3));
  return 0;
}
