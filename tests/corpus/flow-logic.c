// host
#include <stdio.h>

static int trace;
static int t(int id, int v) { trace = trace * 4 + id; return v; }

static int classify(int a, int b, int c) {
  if (a && (b || c) && !(a == b && b == c)) return 1;
  else if (!a || !b) return c ? 2 : 3;
  else if (a < b ? b < c : c < a) return 4;
  return 5;
}

int main(void) {
  for (int v = 0; v < 8; v++) {
    int a = v & 1, b = v >> 1 & 1, c = v >> 2 & 1, r;
    trace = 0; r = t(1, a) && t(2, b) && t(3, c); printf("%d/%d ", r, trace);
    trace = 0; r = t(1, a) || t(2, b) || t(3, c); printf("%d/%d ", r, trace);
    trace = 0; r = t(1, a) ? t(2, b) : t(3, c); printf("%d/%d ", r, trace);
    trace = 0; r = (t(1, a), t(2, b)) || !t(3, c); printf("%d/%d ", r, trace);
    trace = 0; if (!(t(1, a) && !t(2, b)) || t(3, c)) r = 7; else r = 8;
    printf("%d/%d %d\n", r, trace, classify(a + b, b + c, a + c));
  }
  int x = 5, *p = &x, *q = 0;
  printf("%d %d %d %d\n", p && *p, q && *q, p != q ? 3 : 4, !q);
  int i = 0;
  i = i++ ? 10 : i + 20;
  printf("%d\n", i);
  return 0;
}
