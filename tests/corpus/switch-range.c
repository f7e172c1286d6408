// host
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

int main(void) {
  for (int c = -7; c < 128; c++) putchar('0' + kind(c));
  putchar('\n');
  return 0;
}
