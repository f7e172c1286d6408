// host
#include <math.h>
#include <stdio.h>

static float cosine[8][8];
static int block[8][8];
static const int quant[8] = {16, 11, 10, 16, 24, 40, 51, 61};
static const int zigzag[16] = {0, 1, 8, 16, 9, 2, 3, 10, 17, 24, 32, 25, 18, 11, 4, 5};

static void dct(const float in[8], float out[8]) {
  for (int u = 0; u < 8; u++) {
    float s = 0;
    for (int x = 0; x < 8; x++) s += in[x] * cosine[x][u];
    out[u] = s * (u ? 0.5f : 0.35355339f);
  }
}
static void inverse(const float in[8], float out[8]) {
  for (int x = 0; x < 8; x++) {
    float s = in[0] * 0.35355339f;
    for (int u = 1; u < 8; u++) s += in[u] * 0.5f * cosine[x][u];
    out[x] = s;
  }
}
static void both(float m[8][8], void (*f)(const float*, float*)) {
  float t[8], col[8];
  for (int i = 0; i < 8; i++) { f(m[i], t); for (int j = 0; j < 8; j++) m[i][j] = t[j]; }
  for (int j = 0; j < 8; j++) { for (int i = 0; i < 8; i++) col[i] = m[i][j]; f(col, t); for (int i = 0; i < 8; i++) m[i][j] = t[i]; }
}

int main(void) {
  float m[8][8];
  int worst = 0;
  for (int x = 0; x < 8; x++) for (int u = 0; u < 8; u++) cosine[x][u] = cosf((2 * x + 1) * u * 3.14159265f / 16.0f);
  for (int i = 0; i < 8; i++) for (int j = 0; j < 8; j++) { block[i][j] = (i * i * 5 + j * 13 + i * j) % 256 - 128; m[i][j] = block[i][j]; }
  both(m, dct);
  for (int k = 0; k < 16; k++) printf("%ld ", (long)floorf(m[zigzag[k] / 8][zigzag[k] % 8] / quant[zigzag[k] % 8] + 0.5f));
  both(m, inverse);
  for (int i = 0; i < 8; i++) for (int j = 0; j < 8; j++) { int e = (int)floorf(m[i][j] + 0.5f) - block[i][j]; if (e < 0) e = -e; if (e > worst) worst = e; }
  printf("%d\n", worst);
  return 0;
}
