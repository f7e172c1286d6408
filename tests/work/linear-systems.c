// host
/* Dense matrices of floats: factorisation with pivots, determinant, inverse, eigenvalues by rotation. */
#include "work.h"
#include <math.h>

#define N 14

typedef float Matrix[N][N];
typedef float Vector[N];

static void identity(Matrix m) {
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) m[i][j] = i == j;
}

static void copy(Matrix to, float (*from)[N]) {
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) to[i][j] = from[i][j];
}

static void multiply(Matrix a, Matrix b, Matrix out) {
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) {
      float sum = 0;
      for (int k = 0; k < N; k++) sum += a[i][k] * b[k][j];
      out[i][j] = sum;
    }
}

static void transpose(Matrix m) {
  for (int i = 0; i < N; i++)
    for (int j = 0; j < i; j++) {
      float t = m[i][j];
      m[i][j] = m[j][i];
      m[j][i] = t;
    }
}

/* Puts both factors into m; gives the sign of the permutation, 0 for a singular matrix. */
static int factorise(Matrix m, int rows[N]) {
  int sign = 1;
  for (int i = 0; i < N; i++) rows[i] = i;
  for (int k = 0; k < N; k++) {
    int best = k;
    for (int i = k + 1; i < N; i++)
      if (fabs(m[i][k]) > fabs(m[best][k])) best = i;
    if (m[best][k] == 0) return 0;
    if (best != k) {
      for (int j = 0; j < N; j++) {
        float t = m[k][j];
        m[k][j] = m[best][j];
        m[best][j] = t;
      }
      int t = rows[k];
      rows[k] = rows[best];
      rows[best] = t;
      sign = -sign;
    }
    for (int i = k + 1; i < N; i++) {
      float factor = m[i][k] /= m[k][k];
      for (int j = k + 1; j < N; j++) m[i][j] -= factor * m[k][j];
    }
  }
  return sign;
}

static void substitute(Matrix lu, const int rows[N], const Vector b, Vector x) {
  for (int i = 0; i < N; i++) {
    x[i] = b[rows[i]];
    for (int j = 0; j < i; j++) x[i] -= lu[i][j] * x[j];
  }
  for (int i = N - 1; i >= 0; i--) {
    for (int j = i + 1; j < N; j++) x[i] -= lu[i][j] * x[j];
    x[i] /= lu[i][i];
  }
}

static int invert(Matrix m, Matrix out) {
  static Matrix lu;
  int rows[N];
  copy(lu, m);
  if (!factorise(lu, rows)) return 0;
  for (int column = 0; column < N; column++) {
    Vector unit, x;
    for (int i = 0; i < N; i++) unit[i] = i == column;
    substitute(lu, rows, unit, x);
    for (int i = 0; i < N; i++) out[i][column] = x[i];
  }
  return 1;
}

static float distance(Matrix a, Matrix b) {
  float most = 0;
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) {
      float d = (float)fabs(a[i][j] - b[i][j]);
      if (d > most) most = d;
    }
  return most;
}

/* Rotates a symmetric matrix until nothing is left beside the diagonal; gives the sweeps. */
static int rotate_away(Matrix m) {
  for (int sweep = 1; sweep < 20; sweep++) {
    float rest = 0;
    for (int p = 0; p < N; p++)
      for (int q = p + 1; q < N; q++) {
        rest += m[p][q] * m[p][q];
        if (fabs(m[p][q]) < 1e-7f) continue;
        float theta = (m[q][q] - m[p][p]) / (2 * m[p][q]);
        float t = 1 / ((float)fabs(theta) + (float)sqrt(theta * theta + 1));
        if (theta < 0) t = -t;
        float c = 1 / (float)sqrt(t * t + 1), s = t * c;
        for (int k = 0; k < N; k++) {
          float x = m[k][p], y = m[k][q];
          m[k][p] = c * x - s * y;
          m[k][q] = s * x + c * y;
        }
        for (int k = 0; k < N; k++) {
          float x = m[p][k], y = m[q][k];
          m[p][k] = c * x - s * y;
          m[q][k] = s * x + c * y;
        }
      }
    if (rest < 1e-8f) return sweep;
  }
  return 0;
}

static Matrix a, b, c, one;

int main(void) {
  uint32_t sum = 0;
  identity(one);
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) a[i][j] = (float)(int)(next_random() % 19 - 9) / 4 + (i == j ? 8.0f : 0.0f);
  if (!invert(a, b)) return 1;
  multiply(a, b, c);
  expect("inverse", distance(c, one) < 0.0001f, 1);
  for (int i = 0; i < N; i++) sum = mix(sum, (uint32_t)(int32_t)(b[i][(i * 5) % N] * 1000000));
  expect("elements", sum, 0xD8281749);

  int rows[N], sign;
  copy(b, a);
  sign = factorise(b, rows);
  float determinant = (float)sign;
  for (int i = 0; i < N; i++) determinant *= b[i][i] / 8;
  printf("determinant %.3f\n", determinant);
  expect("scaled", (uint32_t)(int32_t)(determinant * 1000), 0x000001E2);

  copy(b, a);
  transpose(b);
  multiply(b, a, c); /* symmetric, with positive eigenvalues */
  float trace = 0, eigenvalues = 0, least = 1e9f;
  for (int i = 0; i < N; i++) trace += c[i][i];
  int sweeps = rotate_away(c);
  for (int i = 0; i < N; i++) {
    eigenvalues += c[i][i];
    if (c[i][i] < least) least = c[i][i];
  }
  printf("%d sweeps, trace %.2f, least %.4f\n", sweeps, trace, least);
  expect("converged", sweeps > 0, 1);
  expect("trace is kept", fabs(trace - eigenvalues) < 0.01f * trace, 1);
  expect("positive", least > 0, 1);
  return finish();
}
