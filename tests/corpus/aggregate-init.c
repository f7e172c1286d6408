// host
#include <stdio.h>

struct point { int x, y; };
struct line { struct point from, to; const char* name; int tag[3]; };
enum { N = 4 };
static int squares[N * 2] = {0, 1, 4, [5] = 25, 36};
static struct line lines[] = {{{1, 2}, {3, 4}, "first", {7}}, [2] = {.name = "third", .to.y = 9, .tag = {[1] = 5}}};
static int grid[3][3] = {{1}, {2, 3}, {4, 5, 6}}, flat[2][2] = {1, 2, 3, 4};
static char words[][6] = {"one", "three", {'t', 'w', 'o'}}, exact[3] = "abc", open[] = {"open"};
static const char* const names[] = {"zero", "one", 0};
static int* where[] = {&squares[2], grid[1] + 2, &lines[2].to.y};
static struct { int a; union { long l; int i; }; struct { int b, c; }; } un = {1, {70000L}, {.c = 3}};
static int (*compare)(int, int);
static int less(int a, int b) { return a < b; }
static int (*table[])(int, int) = {less, &less};

static void show(const int* v, int n) { while (n-- > 0) printf("%d ", *v++); printf("\n"); }

static int sum_local(int k) {
  int v[] = {k, k + 1, k * 2, [6] = k};
  struct line l = {{k}, .tag = {1, k, 3}};
  int z[30] = {0}, s = 0;
  char text[8] = "hi", copy[] = "there";
  for (unsigned i = 0; i < sizeof v / sizeof *v; i++) s += v[i];
  for (int i = 0; i < 30; i++) s += z[i];
  return s * 10 + l.from.x + l.from.y + l.tag[1] + text[7] + text[1] + copy[4] + (l.name == 0);
}

int main(void) {
  show(squares, 8);
  for (int i = 0; i < 3; i++)
    printf("%s %d %d %d ", lines[i].name ? lines[i].name : "-", lines[i].from.x, lines[i].to.y, lines[i].tag[1]);
  printf("%d\n", (int)(sizeof lines / sizeof lines[0]));
  show(grid[0], 9); show(flat[0], 4);
  printf("%s %s %s %c%c%c %s\n", words[0], words[1], words[2], exact[0], exact[1], exact[2], open);
  printf("%s %s %d\n", names[0], names[1], names[2] == 0);
  printf("%d %d %d\n", *where[0], *where[1], *where[2]);
  printf("%d %ld %d %d\n", un.a, un.l, un.b, un.c);
  printf("%d %d %d\n", compare == 0, table[0](1, 2), (*table[1])(2, 1));
  printf("%d %d\n", sum_local(1), sum_local(20));
  for (int i = 0; i < 3; i++) { struct point p = {.y = i}; p.x += i; printf("%d %d ", p.x, p.y); }
  int* lit = (int[]){5, 6, 7};
  struct point* pp = &(struct point){.y = lit[2]};
  lit[1] = 60;
  printf("%d %d %d\n", lit[1], pp->x, pp->y);
  return 0;
}
