#include <stdio.h>

typedef float float4 __attribute__((ext_vector_type(4)));
typedef int int4 __attribute__((ext_vector_type(4)));
typedef short short4 __attribute__((ext_vector_type(4)));
typedef short short2 __attribute__((ext_vector_type(2)));
typedef long long2 __attribute__((ext_vector_type(2)));

static float4 axpy(float a, float4 x, float4 y) { return a * x + y; }
static int sum(int4 v) { return v.x + v.y + v.z + v.w; }
static float4 table[2] = {{1, 2, 3, 4}, {10, 20, 30, 40}};

int main(void) {
  float4 r = axpy(2.0f, table[0], table[1]);
  printf("%.1f %.1f %.1f %.1f\n", r.x, r.y, r.z, r.w);
  int4 a = {1, 2, 3, 4}, b = (int4)(5), c = a * b - 1;
  c[1] = 100;
  c.w += 7;
  a <<= 1;
  printf("%d %d %d %d %d\n", c.x, c[1], c.z, c[3], sum(a));
  short4 less = a < b;
  int4 flip = -a ^ ~b;
  printf("%d %d %d %d\n", less.x, less.y, less.z, less.w);
  printf("%d %d %d %d\n", flip.x, flip.y, flip.z, flip.w);
  short2 s = {3, -4};
  s = s * s + s;
  long2 l = {100000, -5};
  l /= 3;
  printf("%d %d %ld %ld\n", s.x, s.y, l.x, l.y);
  int total = 0;
  for (int i = 0; i < 4; i++) total += c[i];
  int4 *p = &a;
  (*p).y = 50;
  p->z = p->x;
  printf("%d %d %d\n", total, a.y, a.xz.y);
  return 0;
}
