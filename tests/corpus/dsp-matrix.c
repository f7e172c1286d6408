// host
#include <stdio.h>

#define M 6
static int a[M][M], b[M][M], c[M][M];
static float lu[M][M];

static void multiply(int x[M][M], int y[M][M], int z[M][M]) {
  for (int i = 0; i < M; i++) for (int j = 0; j < M; j++) { int s = 0; for (int k = 0; k < M; k++) s += x[i][k] * y[k][j]; z[i][j] = s; }
}
static void transpose(int (*m)[M]) { for (int i = 0; i < M; i++) for (int j = 0; j < i; j++) { int t = m[i][j]; m[i][j] = m[j][i]; m[j][i] = t; } }
static float determinant(float m[M][M]) {
  float det = 1.0f;
  for (int k = 0; k < M; k++) {
    int p = k;
    for (int i = k + 1; i < M; i++) if (m[i][k] * m[i][k] > m[p][k] * m[p][k]) p = i;
    if (m[p][k] == 0.0f) return 0.0f;
    if (p != k) { for (int j = 0; j < M; j++) { float t = m[p][j]; m[p][j] = m[k][j]; m[k][j] = t; } det = -det; }
    det *= m[k][k];
    for (int i = k + 1; i < M; i++) { float f = m[i][k] / m[k][k]; for (int j = k; j < M; j++) m[i][j] -= f * m[k][j]; }
  }
  return det;
}
static int trace(const int m[][M]) { int t = 0; for (int i = 0; i < M; i++) t += m[i][i]; return t; }

int main(void) {
  for (int i = 0; i < M; i++) for (int j = 0; j < M; j++) { a[i][j] = (i * 3 + j * 5) % 7 - 2; b[i][j] = i == j ? 2 : i > j; lu[i][j] = a[i][j] * 0.5f + (i == j ? 3.0f : 0.0f); }
  multiply(a, b, c);
  for (int i = 0; i < M; i++) { for (int j = 0; j < M; j++) printf("%d ", c[i][j]); }
  printf("%d ", trace((const int(*)[M])c));
  transpose(c); multiply(c, a, b);
  printf("%d %d %d\n", b[0][5], b[5][0], trace((const int(*)[M])b));
  printf("%.2f\n", determinant(lu));
  return 0;
}
