// host
#include <stdio.h>

static int dense(int x) {
  int r = 0;
  switch (x) {
  case 0: r += 1;
  case 1: r += 2; break;
  case 2: case 3: r += 4;
  default: r += 100;
  case 4: r += 8; break;
  case 5: return -5;
  case 7: { int local = x * x; r += local; } break;
  }
  return r;
}
static int sparse(long x) {
  switch (x) {
  case -100000L: return 1;
  case 70000L: return 2;
  case 0: return 3;
  case 1L << 20: return 4;
  case 'z': return 5;
  }
  return 0;
}
static int duff(int n) {
  int s = 0, k = (n + 3) / 4;
  switch (n % 4) {
  case 0: do { s += 1;
  case 3: s += 10;
  case 2: s += 100;
  case 1: s += 1000;
  } while (--k > 0);
  }
  return s;
}
static int nested(int a, int b) {
  int n = 0;
  for (int i = 0; i < 4; i++) {
    switch (a) {
    case 1:
      switch (b + i) { case 2: continue; case 3: break; default: n += 1; }
      n += 10;
      break;
    case 2: if (i == 2) continue; n += 50; break;
    default: return n + 7;
    }
    n++;
  }
  return n;
}
static int only_default(int x) { switch (x) { default: x += 3; } switch (x) { } return x; }
enum color { RED, GREEN = 5, BLUE };
static const char* name(enum color c) {
  switch (c) { case RED: return "red"; case GREEN: return "green"; case BLUE: return "blue"; }
  return "none";
}

int main(void) {
  for (int x = -1; x < 9; x++) printf("%d ", dense(x));
  printf("\n%d %d %d %d %d %d\n", sparse(-100000L), sparse(70000L), sparse(0), sparse(1048576L), sparse(122), sparse(5));
  for (int n = 1; n < 9; n++) printf("%d ", duff(n));
  printf("\n%d %d %d %d\n", nested(1, 0), nested(1, 2), nested(2, 0), nested(3, 0));
  printf("%d %s %s %s %s\n", only_default(4), name(RED), name(GREEN), name(BLUE), name((enum color)9));
  return 0;
}
