// host
/* Heat in a block of cells in three dimensions, with walls, sources and two materials. */
#include "work.h"
#include <string.h>

enum { NX = 12, NY = 10, NZ = 8, STEPS = 16 };

typedef int32_t Grid[NZ][NY][NX];

struct source { int x, y, z; int32_t heat; int from, to; };

static Grid now, next;
static unsigned char material[NZ][NY][NX];
static const int16_t conduction[3] = {60, 400, 0}; /* of 4096: slow, fast, none */
static const struct source sources[] = {
  {2, 2, 2, 40000, 0, 9}, {9, 7, 5, 90000, 3, 16}, {6, 5, 4, -30000, 6, 12}};

static void build(void) {
  for (int z = 0; z < NZ; z++)
    for (int y = 0; y < NY; y++)
      for (int x = 0; x < NX; x++) {
        int wall = x == 6 && !(y == 5 && z == 4);
        material[z][y][x] = (unsigned char)(wall ? 2 : (x + y + z) % 5 == 0 ? 1 : 0);
        now[z][y][x] = material[z][y][x] == 2 ? 0 : 20 * 256;
      }
}

static inline int32_t flow(int z, int y, int x, int dz, int dy, int dx) {
  int z2 = z + dz, y2 = y + dy, x2 = x + dx;
  if (x2 < 0 || x2 >= NX || y2 < 0 || y2 >= NY || z2 < 0 || z2 >= NZ) return 0;
  int16_t k1 = conduction[material[z][y][x]], k2 = conduction[material[z2][y2][x2]];
  int16_t k = k1 < k2 ? k1 : k2;
  /* Equal in both directions, so that no heat is lost to rounding. */
  int32_t difference = now[z2][y2][x2] - now[z][y][x];
  return difference >= 0 ? difference / 16 * k / 256 : -(-difference / 16 * k / 256);
}

static void diffuse(void) {
  for (int z = 0; z < NZ; z++)
    for (int y = 0; y < NY; y++)
      for (int x = 0; x < NX; x++)
        next[z][y][x] = now[z][y][x] + flow(z, y, x, 0, 0, 1) + flow(z, y, x, 0, 0, -1) +
                        flow(z, y, x, 0, 1, 0) + flow(z, y, x, 0, -1, 0) + flow(z, y, x, 1, 0, 0) +
                        flow(z, y, x, -1, 0, 0);
  memcpy(now, next, sizeof now);
}

static int32_t total(void) {
  int32_t sum = 0;
  int32_t* cell = &now[0][0][0];
  for (int k = 0; k < NX * NY * NZ; k++) sum += *cell++;
  return sum;
}

static int32_t plane_mean(int axis, int at) {
  int32_t sum = 0;
  int cells = 0;
  for (int z = 0; z < NZ; z++)
    for (int y = 0; y < NY; y++)
      for (int x = 0; x < NX; x++) {
        int here = axis == 0 ? x : axis == 1 ? y : z;
        if (here != at) continue;
        sum += now[z][y][x];
        cells++;
      }
  return sum / cells;
}

int main(void) {
  int32_t given = 0, start;
  uint32_t sum = 0;
  build();
  start = total();
  for (int step = 0; step < STEPS; step++) {
    for (unsigned k = 0; k < sizeof sources / sizeof sources[0]; k++) {
      const struct source* s = &sources[k];
      if (step < s->from || step >= s->to) continue;
      now[s->z][s->y][s->x] += s->heat / 8;
      given += s->heat / 8;
    }
    diffuse();
    for (int x = 0; x < NX; x++) sum = mix(sum, (uint32_t)plane_mean(0, x));
  }
  for (int z = 0; z < NZ; z++) sum = mix(sum, (uint32_t)plane_mean(2, z));
  for (int y = 0; y < NY; y++) sum = mix(sum, (uint32_t)plane_mean(1, y));
  printf("total %ld, given %ld\n", (long)total(), (long)given);
  expect("means", sum, 0x0D1ACDF6);
  expect("heat is kept", total() == start + given, 1);
  expect("warmer behind the wall", plane_mean(0, 7) > plane_mean(0, 5), 1);
  return finish();
}
