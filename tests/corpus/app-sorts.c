// host
#include <stdio.h>

#define N 60
static int data[N], work[N], tmp[N];
static void reset(void) { for (int i = 0; i < N; i++) work[i] = data[i]; }
static void insertion(int* a, int n) { for (int i = 1; i < n; i++) { int v = a[i], j = i; while (j > 0 && a[j - 1] > v) { a[j] = a[j - 1]; j--; } a[j] = v; } }
static void quick(int* a, int lo, int hi) {
  while (lo < hi) {
    int p = a[(lo + hi) / 2], i = lo, j = hi;
    do { while (a[i] < p) i++; while (a[j] > p) j--; if (i <= j) { int t = a[i]; a[i++] = a[j]; a[j--] = t; } } while (i <= j);
    if (j - lo < hi - i) { quick(a, lo, j); lo = i; } else { quick(a, i, hi); hi = j; }
  }
}
static void merge(int* a, int n) {
  for (int w = 1; w < n; w *= 2) {
    for (int lo = 0; lo < n; lo += 2 * w) {
      int mid = lo + w < n ? lo + w : n, hi = lo + 2 * w < n ? lo + 2 * w : n, i = lo, j = mid, k = lo;
      while (i < mid || j < hi) tmp[k++] = j >= hi || (i < mid && a[i] <= a[j]) ? a[i++] : a[j++];
    }
    for (int i = 0; i < n; i++) a[i] = tmp[i];
  }
}
static void heap(int* a, int n) {
  for (int start = n / 2 - 1, end = n - 1; end > 0;) {
    if (start < 0) { int t = a[0]; a[0] = a[end]; a[end--] = t; }
    int k = start < 0 ? 0 : start--;
    for (int c; (c = 2 * k + 1) <= end; k = c) {
      if (c < end && a[c] < a[c + 1]) c++;
      if (a[k] >= a[c]) break;
      int t = a[k]; a[k] = a[c]; a[c] = t;
    }
  }
}
static void shell(int* a, int n) { for (int g = n / 2; g; g /= 2) for (int i = g; i < n; i++) for (int j = i; j >= g && a[j - g] > a[j]; j -= g) { int t = a[j]; a[j] = a[j - g]; a[j - g] = t; } }
static void counting(int* a, int n) { static int count[200]; for (int i = 0; i < 200; i++) count[i] = 0; for (int i = 0; i < n; i++) count[a[i] + 100]++; for (int v = 0, k = 0; v < 200; v++) while (count[v]-- > 0) a[k++] = v - 100; }
static void whole_quick(int* a, int n) { quick(a, 0, n - 1); }

int main(void) {
  static void (*const sorts[])(int*, int) = {insertion, whole_quick, merge, heap, shell, counting};
  for (int i = 0; i < N; i++) data[i] = (i * 37 + i * i * 3) % 199 - 99;
  for (int s = 0; s < 6; s++) {
    reset();
    sorts[s](work, N);
    int ok = 1;
    long sum = 0;
    for (int i = 0; i < N; i++) { sum += (long)work[i] * i; if (i && work[i - 1] > work[i]) ok = 0; }
    printf("%d %ld ", ok, sum);
  }
  printf("\n");
  return 0;
}
