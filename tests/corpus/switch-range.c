// host
#include <limits.h>
#include <stdio.h>

static int kind(int c) {
  switch (c) {
  case '0' ... '9': return 1;
  case 'a' ... 'f': case 'A' ... 'F': return 2;
  case '_': return 3;
  case -5 ... -1: return 4;
  default: return 0;
  }
}

static int wide(unsigned long long x) {
  int n = 0;
  switch (x++) {
  case 0: return 1;
  case 5 ... 70: n = 10; /* falls into a range of another case */
  case 1000 ... 5000000000ULL: return n + 2;
  case 0xFFFFFFFFFFFFFFFEULL ... 0xFFFFFFFFFFFFFFFFULL: return 3;
  case 0x8000000000000000ULL ... 0xFFFFFFFFFFFFFFF0ULL: return 4;
  }
  return n;
}

static int whole(long long x) {
  switch (x) {
  case LLONG_MIN ... -1: return -1;
  case 0: return 0;
  case 1 ... LLONG_MAX: return 1;
  default: return 99;
  }
}

static int last(long long x) {
  switch (x) {
  case LLONG_MAX: return 1;
  case LLONG_MIN: return 2;
  default:
    switch ((unsigned long long)x) {
    case ULLONG_MAX: return 3;
    case 7 ... 3: return 4; /* empty */
    case 100 ... 300: break;
    default: return 5;
    }
    return 6;
  }
}

int main(void) {
  for (int c = -7; c < 128; c++) putchar('0' + kind(c));
  putchar('\n');
  static const unsigned long long at[] = {0, 1, 4, 5, 70, 71, 999, 1000, 5000000000ULL, 5000000001ULL,
    0x7FFFFFFFFFFFFFFFULL, 0x8000000000000000ULL, 0xFFFFFFFFFFFFFFF0ULL, 0xFFFFFFFFFFFFFFF1ULL,
    0xFFFFFFFFFFFFFFFDULL, 0xFFFFFFFFFFFFFFFEULL, 0xFFFFFFFFFFFFFFFFULL};
  for (unsigned k = 0; k < sizeof at / sizeof *at; k++)
    printf("%d %d %d\n", wide(at[k]), whole((long long)at[k]), last((long long)at[k]));
  printf("%d %d %d\n", last(5), last(100), last(301));
  return 0;
}
