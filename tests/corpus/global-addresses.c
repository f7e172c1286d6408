// host
#include <stddef.h>
#include <stdio.h>

struct list { int v; struct list* next; };
static struct list c = {3}, b = {2, &c}, a = {1, &b}, ring[3] = {{1, ring + 1}, {2, &ring[2]}, {3, ring}};
static int table[4][5], *corner = &table[3][4], (*row)[5] = &table[1], *before = &table[3][0] - 2;
static const char text[] = "hello", *tail = text + 2, *const words[] = {text, "x" "y", &text[4]};
static int f(int x) { return x + 1; }
static int g(int x) { return x * 2; }
static struct { const char* name; int (*call)(int); int* where; } ops[] = {{"f", f, &table[0][0]}, {"g", &g, table[2]}};
static long distance = (char*)&((struct list*)0)->next - (char*)0 > 0;
static _Bool is_set = &table;
static struct { struct list in; int* self; } self = {{7}, &self.in.v};

int main(void) {
  int n = 0;
  for (struct list* l = &a; l; l = l->next) n = n * 10 + l->v;
  struct list* l = ring;
  for (int i = 0; i < 7; i++) l = l->next;
  *corner = 9; (*row)[2] = 4; *before = 6;
  printf("%d %d %d %d %d\n", n, l->v, table[3][4], table[1][2], table[2][3]);
  printf("%s %s %s %s\n", tail, words[0], words[1], words[2]);
  for (int i = 0; i < 2; i++) { *ops[i].where = ops[i].call(10); printf("%s %d ", ops[i].name, *ops[i].where); }
  printf("%ld %d %d\n", distance, is_set, *self.self);
  return 0;
}
