#include <stdio.h>

/* Where the bits go: from the lowest of each unit, never across an object of the declared type. */
union view { unsigned u[6]; struct { unsigned a : 4, b : 8, c : 6; unsigned d : 10; } f;
             struct { unsigned long a : 20, b : 10; unsigned long c : 5; int : 0; unsigned d : 2; } w;
             struct { char c; unsigned a : 3; unsigned : 0; unsigned b : 3; long l; } m; };
static struct { unsigned a : 4, b : 8; int x; unsigned long w : 20; int y; } s = {0xA, 0xBC, 0x1234, 0xFEDCB, -1};

int main(void) {
  union view v = {{0}};
  v.f.a = 0xF; v.f.b = 0x55; v.f.c = 0x21; v.f.d = 0x3FF;
  printf("%x %x %d\n", v.u[0], v.u[1], (int)sizeof v.f);
  for (int i = 0; i < 6; i++) v.u[i] = 0;
  v.w.a = 0xABCDE; v.w.b = 0x3FF; v.w.c = 0x11; v.w.d = 2;
  printf("%x %x %x %x %d\n", v.u[0], v.u[1], v.u[2], v.u[3], (int)sizeof v.w);
  for (int i = 0; i < 6; i++) v.u[i] = 0;
  v.m.c = 1; v.m.a = 5; v.m.b = 3; v.m.l = 0x10002L;
  printf("%x %x %x %x %x %x\n", v.u[0], v.u[1], v.u[2], v.u[3], v.u[4], v.u[5]);
  const unsigned* p = (const unsigned*)&s;
  printf("%x %x %x %x %x %d\n", p[0], p[1], p[2], p[3] & 0xF, p[4], (int)sizeof s);
  return 0;
}
