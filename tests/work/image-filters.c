// host
/* Pictures through a histogram, medians, edges, morphology, labels of regions and a summed table. */
#include "work.h"
#include <string.h>

#define W 40
#define H 32

typedef unsigned char Pixel;
typedef Pixel Image[H][W];

static Image scene, work, edges;
static int32_t summed[H + 1][W + 1];
static int16_t labels[H][W];

static Pixel at(Image img, int y, int x) {
  y = y < 0 ? 0 : y >= H ? H - 1 : y;
  x = x < 0 ? 0 : x >= W ? W - 1 : x;
  return img[y][x];
}

static void paint(void) {
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      int v = 60 + x;
      if (x > 5 && x < 16 && y > 4 && y < 14) v = 200;
      if ((x - 28) * (x - 28) + (y - 20) * (y - 20) < 49) v = 170;
      if (y > 25 && x % 8 < 3) v = 220;
      if (next_random() % 20 == 0) v = next_random() & 1 ? 255 : 0;
      scene[y][x] = (Pixel)v;
    }
}

static void equalise(Image in, Image out) {
  int32_t count[256] = {0}, below = 0;
  Pixel map[256];
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) count[in[y][x]]++;
  for (int v = 0; v < 256; v++) {
    map[v] = (Pixel)((below * 255 + W * H / 2) / (W * H));
    below += count[v];
  }
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) out[y][x] = map[in[y][x]];
}

static void exchange(Pixel* a, Pixel* b) {
  if (*a > *b) {
    Pixel t = *a;
    *a = *b;
    *b = t;
  }
}

static void median(Image in, Image out) {
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      Pixel p[9];
      for (int k = 0; k < 9; k++) p[k] = at(in, y + k / 3 - 1, x + k % 3 - 1);
      for (int end = 8; end >= 4; end--)
        for (int k = 0; k < end; k++) exchange(&p[k], &p[k + 1]);
      out[y][x] = p[4];
    }
}

static void convolve(Image in, Image out, const signed char kernel[2][3][3]) {
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      int sum[2] = {0, 0};
      for (int n = 0; n < 2; n++)
        for (int dy = -1; dy <= 1; dy++)
          for (int dx = -1; dx <= 1; dx++) sum[n] += kernel[n][dy + 1][dx + 1] * at(in, y + dy, x + dx);
      int size = (sum[0] < 0 ? -sum[0] : sum[0]) + (sum[1] < 0 ? -sum[1] : sum[1]);
      out[y][x] = (Pixel)(size > 255 ? 255 : size);
    }
}

static void morph(Image img, int grow, int times) {
  static Image before;
  while (times-- > 0) {
    memcpy(before, img, sizeof before);
    for (int y = 0; y < H; y++)
      for (int x = 0; x < W; x++) {
        Pixel v = before[y][x];
        for (int k = 0; k < 4; k++) {
          Pixel n = at(before, y + (k == 0) - (k == 1), x + (k == 2) - (k == 3));
          if (grow ? n > v : n < v) v = n;
        }
        img[y][x] = v;
      }
  }
}

static void make_table(Image in) {
  for (int y = 0; y < H; y++) {
    int32_t row = 0;
    for (int x = 0; x < W; x++) {
      row += in[y][x];
      summed[y + 1][x + 1] = summed[y][x + 1] + row;
    }
  }
}
static int32_t area(int top, int left, int bottom, int right) {
  return summed[bottom][right] - summed[top][right] - summed[bottom][left] + summed[top][left];
}

static void threshold(Image in, Image out) {
  make_table(in);
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      int top = y > 6 ? y - 6 : 0, left = x > 6 ? x - 6 : 0;
      int bottom = y + 7 < H ? y + 7 : H, right = x + 7 < W ? x + 7 : W;
      int32_t mean = area(top, left, bottom, right) / ((bottom - top) * (right - left));
      out[y][x] = (Pixel)(in[y][x] > mean + 10 ? 1 : 0);
    }
}

static int fill(Image in, int y, int x, int16_t label) {
  static struct { signed char y, x; } todo[W * H];
  int n = 0, size = 0;
  todo[n].y = (signed char)y;
  todo[n++].x = (signed char)x;
  labels[y][x] = label;
  while (n > 0) {
    y = todo[--n].y;
    x = todo[n].x;
    size++;
    for (int k = 0; k < 4; k++) {
      int y2 = y + (k == 0) - (k == 1), x2 = x + (k == 2) - (k == 3);
      if (y2 < 0 || y2 >= H || x2 < 0 || x2 >= W || !in[y2][x2] || labels[y2][x2]) continue;
      labels[y2][x2] = label;
      todo[n].y = (signed char)y2;
      todo[n++].x = (signed char)x2;
    }
  }
  return size;
}

static uint32_t sum_of(Image img) {
  uint32_t sum = 0;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) sum = mix(sum, img[y][x]);
  return sum;
}

int main(void) {
  static const signed char slopes[2][3][3] = {{{-1, 0, 1}, {-2, 0, 2}, {-1, 0, 1}}, {{-1, -2, -1}, {0, 0, 0}, {1, 2, 1}}};
  paint();
  equalise(scene, work);
  expect("equalised", sum_of(work), 0xDB8741D6);
  median(scene, work);
  expect("median", sum_of(work), 0x3F72ADF5);
  convolve(work, edges, slopes);
  expect("edges", sum_of(edges), 0x41DBDBC3);
  threshold(work, edges);
  morph(edges, 1, 1);
  morph(edges, 0, 1);
  int16_t regions = 0;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++)
      if (edges[y][x] && !labels[y][x]) {
        int size = fill(edges, y, x, (int16_t)(regions + 1));
        printf("region %d of %d\n", ++regions, size);
      }
  for (int y = 0; y < H; y += 2) {
    for (int x = 0; x < W; x++) putchar(labels[y][x] ? 'a' + labels[y][x] % 26 : '.');
    putchar('\n');
  }
  expect("whole", (uint32_t)area(0, 0, H, W) > 90000u, 1);
  expect("regions", (uint32_t)regions, 0x00000005);
  return finish();
}
