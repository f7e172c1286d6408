// host
#include <stdio.h>

/* Jumps into and out of loops and blocks. */
static int irreducible(int n, int start) {
  int sum = 0, steps = 0;
  if (start) goto second;
first:
  sum += 2 * n;
  if (++steps > 20) goto out;
  if (n-- <= 0) goto out;
second:
  sum += n;
  steps++;
  if (n % 3 == 1) { n -= 2; goto second_tail; }
  goto first;
second_tail:
  if (n > 0) goto second;
out:
  return sum * 100 + steps;
}

static int two_latches(int n) {
  int odd = 0, even = 0;
again:
  if (n == 0) return odd * 100 + even;
  if (n & 1) { odd++; n--; goto again; }
  even++;
  n -= 2;
  goto again;
}

static int into_block(int k) {
  int r = 1;
  if (k > 2) goto inside;
  {
    int local = 5;
    r += local;
  inside:
    local = k;
    r += local * 10;
  }
  return r;
}

static int nested_exit(int limit) {
  int i, j, n = 0;
  for (i = 0; i < 10; i++)
    for (j = 0; j < 10; j++) {
      if (i * j > limit) goto done;
      n++;
    }
done:
  return n * 100 + i * 10 + j;
}

int main(void) {
  for (int n = 0; n < 12; n++) printf("%d %d %d %d\n", irreducible(n, 0), irreducible(n, 1), two_latches(n), into_block(n));
  printf("%d %d\n", nested_exit(20), nested_exit(100));
  return 0;
}
