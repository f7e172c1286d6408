// host
/* Tables of partial answers: knapsacks, common parts, alignments, products of matrices, coins, paths. */
#include "work.h"
#include <string.h>

#define MAX(a, b) ((a) > (b) ? (a) : (b))
#define MIN(a, b) ((a) < (b) ? (a) : (b))

struct item { int weight, value; };

static int knapsack(const struct item* items, int n, int room, unsigned char* taken) {
  static int16_t best[33][201];
  memset(best, 0, sizeof best);
  for (int i = 1; i <= n; i++)
    for (int w = 0; w <= room; w++) {
      int without = best[i - 1][w], with = 0;
      if (items[i - 1].weight <= w) with = best[i - 1][w - items[i - 1].weight] + items[i - 1].value;
      best[i][w] = (int16_t)MAX(with, without);
    }
  for (int i = n, w = room; i > 0; i--) {
    taken[i - 1] = best[i][w] != best[i - 1][w];
    if (taken[i - 1]) w -= items[i - 1].weight;
  }
  return best[n][room];
}

static int common(const char* a, const char* b, char* out) {
  static unsigned char length[81][81];
  int n = (int)strlen(a), m = (int)strlen(b);
  for (int i = n; i >= 0; i--)
    for (int j = m; j >= 0; j--)
      length[i][j] = (unsigned char)(i == n || j == m ? 0 : a[i] == b[j] ? length[i + 1][j + 1] + 1
                                                                         : MAX(length[i + 1][j], length[i][j + 1]));
  int result = length[0][0];
  for (int i = 0, j = 0; i < n && j < m;) {
    if (a[i] == b[j]) *out++ = a[i], i++, j++;
    else if (length[i + 1][j] >= length[i][j + 1]) i++;
    else j++;
  }
  *out = 0;
  return result;
}

/* The best local alignment: matches, mismatches, gaps that cost more to open than to go on. */
static int align(const char* a, const char* b) {
  static int16_t here[81], gap_a[81];
  int m = (int)strlen(b), best = 0;
  for (int j = 0; j <= m; j++) here[j] = 0, gap_a[j] = -100;
  for (int i = 1; a[i - 1]; i++) {
    int corner = 0, gap_b = -100;
    for (int j = 1; j <= m; j++) {
      int match = corner + (a[i - 1] == b[j - 1] ? 3 : -2);
      gap_b = MAX(gap_b - 1, here[j - 1] - 4);
      gap_a[j] = (int16_t)MAX(gap_a[j] - 1, here[j] - 4);
      corner = here[j];
      int score = MAX(MAX(match, gap_b), MAX((int)gap_a[j], 0));
      here[j] = (int16_t)score;
      best = MAX(best, score);
    }
  }
  return best;
}

static int32_t cost[12][12];
static unsigned char split[12][12];

static int32_t chain(const int* sizes, int n) {
  for (int length = 1; length < n; length++)
    for (int i = 0; i + length < n; i++) {
      int j = i + length;
      cost[i][j] = 0x7FFFFFFF;
      for (int k = i; k < j; k++) {
        int32_t c = cost[i][k] + cost[k + 1][j] + (int32_t)sizes[i] * sizes[k + 1] * sizes[j + 1];
        if (c < cost[i][j]) {
          cost[i][j] = c;
          split[i][j] = (unsigned char)k;
        }
      }
    }
  return cost[0][n - 1];
}

static void print_chain(int i, int j) {
  if (i == j) {
    putchar('A' + i);
    return;
  }
  putchar('(');
  print_chain(i, split[i][j]);
  print_chain(split[i][j] + 1, j);
  putchar(')');
}

static int32_t ways(int amount, const int* coins, int n) {
  static int32_t count[301];
  memset(count, 0, sizeof count);
  count[0] = 1;
  for (int c = 0; c < n; c++)
    for (int a = coins[c]; a <= amount; a++) count[a] += count[a - coins[c]];
  return count[amount];
}

static int longest_rise(const int16_t* x, int n, int16_t* top) {
  int length = 0;
  for (int k = 0; k < n; k++) {
    int low = 0, high = length;
    while (low < high) {
      int middle = (low + high) / 2;
      if (top[middle] < x[k]) low = middle + 1;
      else high = middle;
    }
    top[low] = x[k];
    if (low == length) length++;
  }
  return length;
}

static int cheapest_path(unsigned char field[24][24]) {
  int best[24][24];
  for (int y = 0; y < 24; y++)
    for (int x = 0; x < 24; x++) {
      int from = y == 0 && x == 0 ? 0 : 30000;
      if (y) from = MIN(from, best[y - 1][x]);
      if (x) from = MIN(from, best[y][x - 1]);
      if (y && x) from = MIN(from, best[y - 1][x - 1] + 2);
      best[y][x] = from + field[y][x];
    }
  return best[23][23];
}

int main(void) {
  struct item items[32];
  unsigned char taken[32];
  static unsigned char field[24][24];
  char strings[2][81], shared[81];
  int16_t numbers[200], top[200];
  static const int sizes[] = {30, 35, 15, 5, 10, 20, 25}, coins[] = {1, 2, 5, 10, 20, 50, 100, 200};
  uint32_t sum = 0;
  int weight = 0, value = 0;
  for (int k = 0; k < 32; k++) {
    items[k].weight = 5 + (int)(next_random() % 30);
    items[k].value = items[k].weight * 2 + (int)(next_random() % 20);
  }
  int best = knapsack(items, 32, 200, taken);
  for (int k = 0; k < 32; k++)
    if (taken[k]) weight += items[k].weight, value += items[k].value;
  expect("sack", weight <= 200 && value == best, 1);
  for (int round = 0; round < 8; round++) {
    for (int s = 0; s < 2; s++) {
      for (int k = 0; k < 80; k++) strings[s][k] = "ACGT"[next_random() & 3];
      strings[s][80] = 0;
    }
    int n = common(strings[0], strings[1], shared);
    if (n != (int)strlen(shared)) work_faults++;
    sum = mix(sum, (uint32_t)(n * 256 + align(strings[0], strings[1])));
    for (int k = 0; k < 200; k++) numbers[k] = (int16_t)(next_random() % 10000);
    sum = mix(sum, (uint32_t)longest_rise(numbers, 200, top));
    for (int k = 0; k < 24 * 24; k++) field[k / 24][k % 24] = (unsigned char)(1 + next_random() % 9);
    sum = mix(sum, (uint32_t)cheapest_path(field));
  }
  puts(shared);
  expect("chain", (uint32_t)chain(sizes, 6), 15125);
  print_chain(0, 5);
  putchar('\n');
  expect("coins", (uint32_t)ways(200, coins, 8), 73682);
  expect("tables", sum, 0x0A7730FF);
  expect("value", (uint32_t)best, 0x00000230);
  return finish();
}
