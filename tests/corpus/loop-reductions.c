// host
#include <stdio.h>

static int v[50];
static short s[50];
static float f[50];

static int least(const int* a, int n) { int m = a[0]; for (int i = 1; i < n; i++) m = a[i] < m ? a[i] : m; return m; }
static int argmax(const int* a, int n) { int k = 0; for (int i = 1; i < n; i++) if (a[i] > a[k]) k = i; return k; }
static int count(const int* a, int n, int x) { int c = 0; for (int i = 0; i < n; i++) c += a[i] > x; return c; }
static unsigned mix(const int* a, int n) { unsigned h = 0; for (int i = 0; i < n; i++) h = (h ^ (unsigned)a[i]) & 0xFFFF; return h; }
static long product(const short* a, int n) { long p = 1; for (int i = 0; i < n; i++) p = p * (a[i] | 1) % 9973; return p; }
static float norm(const float* a, int n) { float t = 0; for (int i = 0; i < n; i++) t += a[i] * a[i]; return t; }
static void prefix(int* a, int n) { for (int i = 1; i < n; i++) a[i] += a[i - 1]; }
static void pairs(short* a, int n) { for (int i = 0; i + 1 < n; i += 2) { short t = a[i]; a[i] = a[i + 1]; a[i + 1] = t; } }
static int runs(const int* a, int n) { int r = 1; for (int i = 1; i < n; i++) if ((a[i] > a[i - 1]) != (i > 1 && a[i - 1] > a[i - 2])) r++; return r; }
static long mean_square(const short* a, int n) { long t = 0; for (int i = 0; i < n; i++) t += (long)a[i] * a[i]; return n ? t / n : 0; }
static int all(const int* a, int n) { int ok = 1; for (int i = 0; i < n && ok; i++) ok = a[i] < 1000; return ok; }

int main(void) {
  for (int i = 0; i < 50; i++) { v[i] = (i * 29 + 7) % 64 - 20; s[i] = v[i] * 3; f[i] = v[i] * 0.25f; }
  printf("%d %d %d %u %ld %.3f\n", least(v, 50), argmax(v, 50), count(v, 50, 10), mix(v, 50), product(s, 50), norm(f, 50));
  printf("%d %ld %d\n", runs(v, 50), mean_square(s, 50), all(v, 50));
  prefix(v, 50); pairs(s, 50);
  printf("%d %d %d %d %ld\n", v[49], v[25], s[0], s[49], mean_square(s, 0));
  return 0;
}
