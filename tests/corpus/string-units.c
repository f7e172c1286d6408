#include <stdio.h>
#include <string.h>

/* One unit for each character, with the byte's value; more fits in a char than a byte. */
static const char bytes[] = "\xff\x80\x7f\0z";
static char wide[3];

int main(void) {
  printf("%d %d %d %d %d\n", bytes[0], bytes[1], bytes[2], bytes[4], (int)sizeof bytes);
  wide[0] = 1000;
  wide[1] = -1;
  printf("%d %d %d\n", wide[0], wide[1], (int)strlen(wide));
  unsigned* u = (unsigned*)"AB";
  printf("%u %u %u\n", u[0], u[1], u[2]);
  printf("%d\n", (int)strlen("\xc3\xa9"));
  long l = 0x00420041L;
  printf("%d\n", memcmp(&l, "AB", sizeof l));
  return 0;
}
