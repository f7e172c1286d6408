// host
#include <stdio.h>

#define N 64
static const short quarter[17] = {0, 3212, 6393, 9512, 12539, 15446, 18204, 20787, 23170, 25329, 27245, 28898, 30273, 31356, 32137, 32609, 32767};
static short re[N], im[N];

static short sine(int k) { k &= 63; return k <= 16 ? quarter[k] : k <= 32 ? quarter[32 - k] : k <= 48 ? -quarter[k - 32] : -quarter[64 - k]; }

static void fft(void) {
  for (int i = 1, j = 0; i < N; i++) {
    int bit = N >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) { short t = re[i]; re[i] = re[j]; re[j] = t; t = im[i]; im[i] = im[j]; im[j] = t; }
  }
  for (int len = 2; len <= N; len <<= 1)
    for (int i = 0; i < N; i += len)
      for (int j = 0; j < len / 2; j++) {
        int k = j * (N / len), a = i + j, b = a + len / 2;
        long wr = sine(k + 16), wi = -sine(k);
        long tr = (wr * re[b] - wi * im[b]) >> 15, ti = (wr * im[b] + wi * re[b]) >> 15;
        re[b] = (re[a] - tr) >> 1; im[b] = (im[a] - ti) >> 1;
        re[a] = (re[a] + tr) >> 1; im[a] = (im[a] + ti) >> 1;
      }
}

int main(void) {
  for (int i = 0; i < N; i++) { re[i] = sine(i * 5) / 2 + sine(i * 11 + 3) / 4; im[i] = 0; }
  fft();
  for (int i = 0; i < N; i++) if (re[i] > 50 || re[i] < -50 || im[i] > 50 || im[i] < -50) printf("%d:%d,%d ", i, re[i], im[i]);
  unsigned hash = 0;
  for (int i = 0; i < N; i++) hash = (hash * 33u + (unsigned)re[i] + 7u * (unsigned)im[i]) & 0xFFFF;
  printf("%u\n", hash);
  return 0;
}
