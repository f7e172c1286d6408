// host
/* Records in order by six methods, with comparisons behind pointers, and indices that stay stable. */
#include "work.h"
#include <stdlib.h>
#include <string.h>

#define COUNT 500

typedef struct {
  int16_t key;
  uint16_t serial;
  char name[6];
} Record;

typedef int (*Compare)(const Record*, const Record*);
typedef void (*Sorter)(Record*, int, Compare);

static int32_t comparisons;

static int by_key(const Record* a, const Record* b) {
  comparisons++;
  return a->key < b->key ? -1 : a->key > b->key;
}
static int by_name(const Record* a, const Record* b) {
  comparisons++;
  for (int k = 0; k < 6; k++)
    if (a->name[k] != b->name[k]) return a->name[k] < b->name[k] ? -1 : 1;
  return 0;
}

static void swap(Record* a, Record* b) {
  Record t = *a;
  *a = *b;
  *b = t;
}

static void insertion(Record* r, int n, Compare less) {
  for (int i = 1; i < n; i++) {
    Record moving = r[i];
    int k = i;
    for (; k > 0 && less(&moving, &r[k - 1]) < 0; k--) r[k] = r[k - 1];
    r[k] = moving;
  }
}

static void shell(Record* r, int n, Compare less) {
  static const int gaps[] = {701, 301, 132, 57, 23, 10, 4, 1};
  for (unsigned g = 0; g < sizeof gaps / sizeof *gaps; g++)
    for (int i = gaps[g]; i < n; i++) {
      Record moving = r[i];
      int k = i;
      for (; k >= gaps[g] && less(&moving, &r[k - gaps[g]]) < 0; k -= gaps[g]) r[k] = r[k - gaps[g]];
      r[k] = moving;
    }
}

static void quick(Record* r, int n, Compare less) {
  while (n > 12) {
    int middle = n / 2, low = 0, high = n - 1;
    if (less(&r[middle], &r[0]) < 0) swap(&r[middle], &r[0]);
    if (less(&r[n - 1], &r[0]) < 0) swap(&r[n - 1], &r[0]);
    if (less(&r[n - 1], &r[middle]) < 0) swap(&r[n - 1], &r[middle]);
    Record pivot = r[middle];
    while (low <= high) {
      while (less(&r[low], &pivot) < 0) low++;
      while (less(&pivot, &r[high]) < 0) high--;
      if (low <= high) swap(&r[low++], &r[high--]);
    }
    if (high + 1 < n - low) { /* the smaller part by recursion */
      quick(r, high + 1, less);
      r += low;
      n -= low;
    } else {
      quick(r + low, n - low, less);
      n = high + 1;
    }
  }
  insertion(r, n, less);
}

static void sift(Record* r, int at, int n, Compare less) {
  for (int child; (child = 2 * at + 1) < n; at = child) {
    if (child + 1 < n && less(&r[child], &r[child + 1]) < 0) child++;
    if (less(&r[at], &r[child]) >= 0) return;
    swap(&r[at], &r[child]);
  }
}
static void heap(Record* r, int n, Compare less) {
  for (int k = n / 2 - 1; k >= 0; k--) sift(r, k, n, less);
  for (int k = n - 1; k > 0; k--) {
    swap(&r[0], &r[k]);
    sift(r, 0, k, less);
  }
}

static void merge(Record* r, int n, Compare less) {
  static Record spare[COUNT];
  for (int run = 1; run < n; run *= 2) {
    for (int begin = 0; begin < n; begin += 2 * run) {
      int middle = begin + run < n ? begin + run : n, end = begin + 2 * run < n ? begin + 2 * run : n;
      int a = begin, b = middle;
      for (int to = begin; to < end; to++)
        spare[to] = b >= end || (a < middle && less(&r[a], &r[b]) <= 0) ? r[a++] : r[b++];
    }
    memcpy(r, spare, (size_t)n * sizeof *r);
  }
}

static void radix(Record* r, int n, Compare unused) {
  static Record spare[COUNT];
  (void)unused;
  for (int shift = 0; shift < 16; shift += 4) {
    int places[17] = {0};
    for (int k = 0; k < n; k++) places[((uint16_t)(r[k].key ^ 0x8000) >> shift & 15) + 1]++;
    for (int d = 0; d < 16; d++) places[d + 1] += places[d];
    for (int k = 0; k < n; k++) spare[places[(uint16_t)(r[k].key ^ 0x8000) >> shift & 15]++] = r[k];
    memcpy(r, spare, (size_t)n * sizeof *r);
  }
}

static int host_compare(const void* a, const void* b) { return by_key(a, b); }

static void fill(Record* r, int shape) {
  for (int k = 0; k < COUNT; k++) {
    r[k].serial = (uint16_t)k;
    r[k].key = (int16_t)(shape == 0 ? (int)(next_random() % 30000) - 15000 : shape == 1 ? k : shape == 2 ? COUNT - k : k % 7);
    for (int c = 0; c < 5; c++) r[k].name[c] = (char)('a' + next_random() % 4);
    r[k].name[5] = 0;
  }
}

int main(void) {
  static const struct { const char* name; Sorter sort; int stable; } methods[] = {
    {"shell", shell, 0}, {"quick", quick, 0}, {"heap", heap, 0}, {"merge", merge, 1}, {"radix", radix, 1}};
  static Record records[COUNT];
  uint32_t sum = 0;
  for (unsigned m = 0; m < sizeof methods / sizeof *methods; m++) {
    comparisons = 0;
    for (int shape = 0; shape < 4; shape++) {
      fill(records, shape);
      methods[m].sort(records, COUNT, by_key);
      for (int k = 1; k < COUNT; k++) {
        const Record *a = &records[k - 1], *b = &records[k];
        if (a->key > b->key || (methods[m].stable && a->key == b->key && a->serial > b->serial)) work_faults++;
      }
      for (int k = 0; k < COUNT; k += 9) sum = mix(sum, (uint16_t)records[k].key);
      if (methods[m].sort != radix) methods[m].sort(records, COUNT / 2, by_name);
      sum = mix(sum, (uint32_t)(records[0].name[0] * 64 + records[COUNT / 2 - 1].name[1]));
    }
    printf("%s %ld\n", methods[m].name, (long)comparisons);
    sum = mix(sum, (uint32_t)comparisons);
  }
  fill(records, 0);
  qsort(records, COUNT, sizeof *records, host_compare);
  Record wanted = records[123];
  Record* found = bsearch(&wanted, records, COUNT, sizeof *records, host_compare);
  expect("found", found && found->key == wanted.key, 1);
  expect("orders", sum, 0x87CF3093);
  return finish();
}
