// host
#include <stdio.h>

struct v3 { float x, y, z; };
static struct v3 add(struct v3 a, struct v3 b) { return (struct v3){a.x + b.x, a.y + b.y, a.z + b.z}; }
static struct v3 scale(struct v3 a, float k) { a.x *= k; a.y *= k; a.z *= k; return a; }
static float dot(struct v3 a, struct v3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
static struct v3 cross(const struct v3* a, const struct v3* b) { struct v3 r = {a->y * b->z - a->z * b->y, a->z * b->x - a->x * b->z, a->x * b->y - a->y * b->x}; return r; }
struct body { struct v3 at, speed; float mass; };

static void step(struct body* b, int n, float dt) {
  for (int i = 0; i < n; i++) {
    struct v3 force = {0};
    for (int j = 0; j < n; j++) {
      if (i == j) continue;
      struct v3 d = add(b[j].at, scale(b[i].at, -1.0f));
      float r2 = dot(d, d) + 0.5f;
      force = add(force, scale(d, b[j].mass / (r2 * r2)));
    }
    b[i].speed = add(b[i].speed, scale(force, dt));
  }
  for (int i = 0; i < n; i++) b[i].at = add(b[i].at, scale(b[i].speed, dt));
}

int main(void) {
  struct body b[3] = {{{0, 0, 0}, {0, 0, 0}, 10}, {{2, 0, 0}, {0, 1.5f, 0}, 1}, {{0, -3, 1}, {1, 0, 0.25f}, 2}};
  struct v3 p = {1, 2, 3}, q = {-2, 0.5f, 4}, c = cross(&p, &q);
  printf("%.3f %.3f %.3f %.3f %.3f\n", dot(p, q), c.x, c.y, c.z, dot(c, p));
  for (int k = 0; k < 20; k++) step(b, 3, 0.0625f);
  for (int i = 0; i < 3; i++) printf("%.2f %.2f %.2f ", b[i].at.x, b[i].at.y, b[i].at.z);
  printf("\n");
  return 0;
}
