// host
#include <stdio.h>

static int gcd(int a, int b) { return b ? gcd(b, a % b) : a; }
static long factorial(int n) { return n < 2 ? 1 : n * factorial(n - 1); }
static int ackermann(int m, int n) { return !m ? n + 1 : !n ? ackermann(m - 1, 1) : ackermann(m - 1, ackermann(m, n - 1)); }
static int odd(int n);
static int even(int n) { return n == 0 ? 1 : odd(n - 1); }
static int odd(int n) { return n == 0 ? 0 : even(n - 1); }
static int tail_sum(int n, int sum) { if (n == 0) return sum; return tail_sum(n - 1, sum + n); }
static int moves;
static void hanoi(int n, int from, int to, int by) { if (!n) return; hanoi(n - 1, from, by, to); moves += from * to; hanoi(n - 1, by, to, from); }
static int queens(int n, int row, int cols, int left, int right) {
  if (row == n) return 1;
  int count = 0;
  for (int c = 0; c < n; c++) {
    int bit = 1 << c, l = 1 << (row + c), r = 1 << (row - c + n - 1);
    if (!(cols & bit) && !(left & l) && !(right & r)) count += queens(n, row + 1, cols | bit, left | l, right | r);
  }
  return count;
}
static void permute(char* s, int k, int n, unsigned* hash) {
  if (k == n) { for (int i = 0; i < n; i++) *hash = (*hash * 31 + s[i]) & 0xFFFF; return; }
  for (int i = k; i < n; i++) {
    char t = s[k]; s[k] = s[i]; s[i] = t;
    permute(s, k + 1, n, hash);
    t = s[k]; s[k] = s[i]; s[i] = t;
  }
}
static int depth(int n) { int local[4] = {n, n + 1, n + 2, n + 3}; int below = n ? depth(n - 1) : 0; return below + local[n & 3]; }

int main(void) {
  char text[] = "abcde";
  unsigned hash = 7;
  hanoi(8, 1, 3, 2);
  permute(text, 0, 5, &hash);
  printf("%d %ld %d\n", gcd(1071, 462), factorial(12), ackermann(2, 5));
  printf("%d %d %d %d\n", even(50), odd(51), tail_sum(200, 0), moves);
  printf("%d %d %u %s %d\n", queens(6, 0, 0, 0, 0), queens(8, 0, 0, 0, 0), hash, text, depth(40));
  return 0;
}
