// host
#include <stdio.h>
#include <string.h>

/* Locals of blocks that end before others begin: each block fills its own storage and checks it at its
   end, whatever the blocks before have left there. */
struct point { int x, y; };
struct frame { struct point corner[2]; long area; char tag[5]; };
union word { long wide; int half[2]; };

static int failures;

static void check(int ok, int line) {
  if (!ok) {
    printf("line %d\n", line);
    failures++;
  }
}
#define CHECK(c) check(c, __LINE__)

static void fill(int *to, int n, int from) {
  for (int i = 0; i < n; i++) to[i] = from + i;
}

static int sum(const int *of, int n) {
  int s = 0;
  while (n > 0) s += of[--n];
  return s;
}

static void fill_long(long *to, int n, long from) {
  for (int i = 0; i < n; i++) to[i] = from * (i + 1);
}

static int side_by_side(int k) {
  int outer[4], total = 0;
  fill(outer, 4, k);
  {
    int a[10];
    fill(a, 10, 1);
    total += sum(a, 10);
  }
  {
    long b[3];
    struct point p = {k, 2 * k};
    fill_long(b, 3, 100000L);
    CHECK(b[2] == 300000L && p.x == k && p.y == 2 * k);
    total += (int)(b[1] / 50000L) + p.y;
  }
  {
    struct frame f = {{{1, 2}, {3, 4}}, 5, "five"};
    struct frame g = f;
    g.corner[1].x += k;
    CHECK(strcmp(g.tag, "five") == 0 && memcmp(f.corner, g.corner, sizeof f.corner[0]) == 0);
    total += g.corner[1].x + (int)g.area + f.corner[1].x;
  }
  CHECK(sum(outer, 4) == 4 * k + 6);
  return total;
}

/* Inner blocks share among each other, and with nothing that lives around them. */
static int nested(int k) {
  int total = 0;
  {
    int around[6];
    fill(around, 6, k);
    {
      int first[3];
      fill(first, 3, 7);
      total += sum(first, 3);
      {
        int deep[2];
        fill(deep, 2, 50);
        CHECK(first[2] == 9);
        total += deep[1];
      }
      CHECK(sum(first, 3) == 24);
    }
    {
      const char second[] = "second";
      union word w;
      w.wide = 0;
      w.half[0] = second[0];
      CHECK(sizeof second == 7 && second[5] == 'd' && w.half[0] == 's');
      total += (int)strlen(second);
    }
    CHECK(sum(around, 6) == 6 * k + 15);
  }
  {
    int after[12];
    fill(after, 12, -5);
    total += sum(after, 12);
  }
  return total;
}

/* The block is entered anew in each round; what is carried over lives outside. */
static long rounds(int n) {
  long history = 0;
  for (int i = 0; i < n; i++) {
    int scratch[8];
    fill(scratch, 8, i);
    if (i % 3 == 0) {
      int odd[5];
      fill(odd, 5, scratch[7]);
      if (i == 6) continue;
      history = history * 3 + odd[4];
    } else {
      struct point pair[2] = {{i, i + 1}, {i + 2, i + 3}};
      struct point *p = &pair[i & 1];
      if (i == 10) break;
      history += p->x * p->y;
    }
    CHECK(scratch[0] == i && scratch[7] == i + 7);
  }
  return history;
}

static int by_switch(int k) {
  int r = 0;
  switch (k) {
    int shared[4]; /* no initialiser would run: the block is entered at a label */
  case 0: {
    int only[9];
    fill(only, 9, 2);
    r = sum(only, 9);
    break;
  }
  case 1:
    fill(shared, 4, 3);
    r = sum(shared, 4);
    break;
  case 2: {
    long wide[2];
    fill_long(wide, 2, 70000L);
    r = (int)(wide[1] / 1000L);
  } /* falls through */
  case 3:
    fill(shared, 4, 10);
    {
      int inner[4];
      fill(inner, 4, 20);
      r += sum(shared, 4) - sum(inner, 4);
    }
    break;
  default: r = -1;
  }
  return r;
}

/* Into a block past its beginning, out of it, and back to its beginning. */
static int by_goto(int k) {
  int visits = 0, r = 0;
  if (k & 1) goto inside;
again:
  {
    int buffer[6];
    fill(buffer, 6, 0);
    r += buffer[5];
  inside:
    fill(buffer, 6, k);
    r += sum(buffer, 6);
    if (++visits < 3) goto between;
  }
  goto out;
between:
  {
    struct frame f;
    memset(&f, 0, sizeof f);
    f.area = visits;
    f.corner[0].x = r;
    r = f.corner[0].x + (int)f.area + f.tag[4];
    if (k > 4) goto out;
  }
  goto again;
out:
  return r * 10 + visits;
}

/* Each call has storage of its own. */
static int recursive(int n) {
  int total = 0;
  {
    int mine[3];
    fill(mine, 3, n);
    if (n > 0) total += recursive(n - 1);
    CHECK(sum(mine, 3) == 3 * n + 3);
    total += mine[1];
  }
  {
    struct point last = {n, total};
    struct point *at = &last;
    if (n > 1) total += recursive(n - 2);
    CHECK(at->x == n);
    total += at->y;
  }
  return total;
}

static int through_pointers(int which) {
  int r;
  int *seen = 0;
  {
    int left[5];
    int *p = left, plain = 4;
    int *to_plain = &plain;
    fill(p, 5, which);
    *to_plain += left[4];
    r = plain;
    seen = &r;
  }
  {
    int right[5];
    int *p = right + 4;
    while (p >= right) *p-- = which;
    *seen += sum(right, 5);
  }
  return r;
}

int main(void) {
  for (int k = 0; k < 6; k++) {
    printf("%d %d %ld %d %d", side_by_side(k), nested(k), rounds(2 * k + 1), by_switch(k), by_goto(k));
    printf(" %d %d\n", recursive(k), through_pointers(k));
  }
  printf("%d failures\n", failures);
  return failures;
}
