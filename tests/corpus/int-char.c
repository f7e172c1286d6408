#include <stdio.h>

/* A char is as wide as an int here: unsigned char promotes to unsigned int. */
volatile unsigned char uc = 65535u;
volatile signed char sc = -5;
volatile char c = '\xff';
volatile unsigned short us = 1;

static int failures;
#define CHECK(e) ((e) ? (void)0 : (void)(failures++, printf("line %d: %s\n", __LINE__, #e)))

int main(void) {
  CHECK(sizeof(char) == 1 && sizeof(int) == 1 && sizeof(long) == 2 && sizeof(long long) == 4);
  CHECK(uc == 65535u);
  CHECK(uc > -1 == 0);       /* 65535u > 65535u */
  CHECK((uc + 1) == 0);      /* wraps in unsigned int */
  CHECK(-us > 0);            /* unsigned */
  CHECK(sc < us == 0);       /* -5 becomes 65531 */
  CHECK(c == 255);           /* the byte's value fits */
  CHECK('\377' == 255 && '\0' == 0 && 'A' == 65);
  CHECK((char)300 == 300);
  CHECK((unsigned char)-1 == 65535u);
  uc++;
  CHECK(uc == 0);
  uc--;
  CHECK(uc == 65535u);
  uc >>= 4;
  CHECK(uc == 4095);
  CHECK(~us == 65534u && ~us > 0);
  CHECK((1 ? uc : -1) > 0 && (0 ? uc : -1) > 0);
  CHECK(sizeof(uc + 1L) == 2);
  unsigned char t[] = {300, 400};
  CHECK(t[0] + t[1] == 700);
  switch (uc + 61440u) {
  case 65535u: break;
  default: CHECK(0);
  }
  switch (us) {
  case 1: break;
  default: CHECK(0);
  }
  printf("failures %d\n", failures);
  return failures;
}
