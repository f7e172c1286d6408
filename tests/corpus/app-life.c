// host
#include <stdio.h>
#include <string.h>

#define H 10
#define W 16
static char a[H + 2][W + 2], b[H + 2][W + 2];

static int step(char (*from)[W + 2], char (*to)[W + 2]) {
  int alive = 0;
  for (int y = 1; y <= H; y++)
    for (int x = 1; x <= W; x++) {
      int n = 0;
      for (int dy = -1; dy <= 1; dy++) for (int dx = -1; dx <= 1; dx++) if (dy || dx) n += from[y + dy][x + dx];
      alive += to[y][x] = n == 3 || (n == 2 && from[y][x]);
    }
  return alive;
}

int main(void) {
  static const char* const start[] = {"", " #", "  #", "###", "", "          ###", "         #  #"};
  for (int y = 0; y < 7; y++) for (int x = 0; start[y][x]; x++) a[y + 1][x + 1] = start[y][x] == '#';
  for (int g = 0; g < 20; g++) { printf("%d ", step(a, b)); memcpy(a, b, sizeof a); }
  printf("\n");
  for (int y = 1; y <= H; y++) { for (int x = 1; x <= W; x++) putchar(a[y][x] ? '#' : '.'); putchar('\n'); }
  return 0;
}
