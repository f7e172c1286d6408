// host
/* Blocks of an image through a cosine transform, quantisation, zigzag and run lengths, and back. */
#include "work.h"
#include <string.h>

#define SIZE 64
#define B 8

static unsigned char image[SIZE][SIZE], decoded[SIZE][SIZE];
static int16_t basis[B][B];
static unsigned char order[B * B];
static int16_t stream[SIZE * SIZE * 2];
static int written;

static const unsigned char quantum[B][B] = {
  {16, 11, 10, 16, 24, 40, 51, 61},   {12, 12, 14, 19, 26, 58, 60, 55},
  {14, 13, 16, 24, 40, 57, 69, 56},   {14, 17, 22, 29, 51, 87, 80, 62},
  {18, 22, 37, 56, 68, 109, 103, 77}, {24, 35, 55, 64, 81, 104, 113, 92},
  {49, 64, 78, 87, 103, 121, 120, 101}, {72, 92, 95, 98, 112, 100, 103, 99}};

static void make_basis(void) {
  /* cos((2 x + 1) u pi / 16) in Q14 from a table of cos(k pi / 16). */
  static const int16_t quarter[] = {16384, 16069, 15137, 13623, 11585, 9102, 6270, 3196, 0};
  for (int u = 0; u < B; u++)
    for (int x = 0; x < B; x++) {
      int angle = (2 * x + 1) * u % 32;
      if (angle > 16) angle = 32 - angle;
      int16_t c = angle <= 8 ? quarter[angle] : (int16_t)-quarter[16 - angle];
      basis[u][x] = u == 0 ? 11585 : c;
    }
}

static void make_order(void) {
  int at = 0;
  for (int s = 0; s < 2 * B - 1; s++)
    for (int k = 0; k <= s; k++) {
      int y = s & 1 ? k : s - k, x = s - y;
      if (y < B && x < B) order[at++] = (unsigned char)(y * B + x);
    }
}

static void forward(int16_t block[B][B]) {
  int32_t rows[B][B];
  for (int y = 0; y < B; y++)
    for (int u = 0; u < B; u++) {
      int32_t sum = 0;
      for (int x = 0; x < B; x++) sum += (int32_t)block[y][x] * basis[u][x];
      rows[y][u] = sum >> 11;
    }
  for (int u = 0; u < B; u++)
    for (int v = 0; v < B; v++) {
      int32_t sum = 0;
      for (int y = 0; y < B; y++) sum += rows[y][u] * basis[v][y];
      block[v][u] = (int16_t)(sum >> 19);
    }
}

static void backward(int16_t block[B][B]) {
  int32_t columns[B][B];
  for (int u = 0; u < B; u++)
    for (int y = 0; y < B; y++) {
      int32_t sum = 0;
      for (int v = 0; v < B; v++) sum += (int32_t)block[v][u] * basis[v][y];
      columns[y][u] = sum >> 11;
    }
  for (int y = 0; y < B; y++)
    for (int x = 0; x < B; x++) {
      int32_t sum = 0;
      for (int u = 0; u < B; u++) sum += columns[y][u] * basis[u][x];
      block[y][x] = (int16_t)(sum >> 19);
    }
}

static void put(int16_t v) { stream[written++] = v; }

static int16_t encode_block(int by, int bx, int16_t last_dc) {
  int16_t block[B][B], flat[B * B];
  for (int y = 0; y < B; y++)
    for (int x = 0; x < B; x++) block[y][x] = (int16_t)(image[by + y][bx + x] - 128);
  forward(block);
  for (int k = 0; k < B * B; k++) {
    int y = order[k] / B, x = order[k] % B, q = quantum[y][x], v = block[y][x];
    flat[k] = (int16_t)((v >= 0 ? v + q / 2 : v - q / 2) / q);
  }
  put((int16_t)(flat[0] - last_dc));
  int run = 0;
  for (int k = 1; k < B * B; k++) {
    if (flat[k] == 0) {
      run++;
      continue;
    }
    put((int16_t)run);
    put(flat[k]);
    run = 0;
  }
  put(-1);
  return flat[0];
}

static const int16_t* decode_block(const int16_t* in, int by, int bx, int16_t* dc) {
  int16_t block[B][B];
  memset(block, 0, sizeof block);
  *dc = (int16_t)(*dc + *in++);
  block[0][0] = (int16_t)(*dc * quantum[0][0]);
  for (int k = 1; *in >= 0; k++, in += 2) {
    k += in[0];
    int y = order[k] / B, x = order[k] % B;
    block[y][x] = (int16_t)(in[1] * quantum[y][x]);
  }
  backward(block);
  for (int y = 0; y < B; y++)
    for (int x = 0; x < B; x++) {
      int v = block[y][x] + 128;
      decoded[by + y][bx + x] = (unsigned char)(v < 0 ? 0 : v > 255 ? 255 : v);
    }
  return in + 1;
}

int main(void) {
  make_basis();
  make_order();
  for (int y = 0; y < SIZE; y++)
    for (int x = 0; x < SIZE; x++) {
      int dx = x - 30, dy = y - 34, d = dx * dx + dy * dy;
      image[y][x] = (unsigned char)(d < 400 ? 220 - d / 4 : (x * 2 + y + (int)(next_random() % 9)) & 255);
    }
  int16_t dc = 0;
  for (int y = 0; y < SIZE; y += B)
    for (int x = 0; x < SIZE; x += B) dc = encode_block(y, x, dc);
  const int16_t* in = stream;
  dc = 0;
  for (int y = 0; y < SIZE; y += B)
    for (int x = 0; x < SIZE; x += B) in = decode_block(in, y, x, &dc);
  int32_t squares = 0;
  uint32_t sum = 0;
  for (int y = 0; y < SIZE; y++)
    for (int x = 0; x < SIZE; x++) {
      int32_t error = (int32_t)image[y][x] - decoded[y][x];
      squares += error * error;
      sum = mix(sum, decoded[y][x]);
    }
  printf("%d words, mean square %ld\n", written, (long)(squares / (SIZE * SIZE)));
  expect("all read", in == stream + written, 1);
  expect("pixels", sum, 0x4F010D74);
  expect("quality", squares / (SIZE * SIZE) < 60, 1);
  return finish();
}
