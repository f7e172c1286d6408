// host
#include <stdio.h>

static int cells[6][5];
static short s[20];
static long l[10];
static char text[] = "pointers";

static int sum(const int* from, const int* to) { int n = 0; while (from != to) n += *from++; return n; }
static void swap(int* a, int* b) { int t = *a; *a = *b; *b = t; }
static int** find(int** list, int n, int x) { while (n-- > 0) if (**list == x) return list; else list++; return 0; }

int main(void) {
  int n = 0;
  for (int i = 0; i < 6; i++) for (int j = 0; j < 5; j++) cells[i][j] = n++;
  int(*row)[5] = cells + 2;
  printf("%d %d %d\n", (*row)[3], row[1][1], *(*(row - 1) + 4));
  printf("%d %d\n", sum(cells[0], cells[6]), sum(&cells[1][2], *(cells + 3) + 1));
  printf("%ld %ld\n", (long)(&cells[5][4] - &cells[0][0]), (long)(row - cells));
  for (int i = 0; i < 20; i++) s[i] = i * i;
  short* p = s + 19;
  printf("%d ", *p); --p;
  n = *p--; printf("%d %d %d\n", n, p[-3], 3[p - 5]);
  for (long* q = l; q < l + 10; ++q) *q = 100000L * (q - l);
  printf("%ld %ld\n", l[9], *(long*)((char*)l + 3 * sizeof(long)));
  char* c = text;
  while (*c) c++;
  printf("%d %c\n", (int)(c - text), c[-1]);
  swap(&cells[0][0], &cells[5][4]);
  swap(cells[1], cells[1] + 1);
  printf("%d %d %d %d\n", cells[0][0], cells[5][4], cells[1][0], cells[1][1]);
  int a = 1, b = 2, d = 3, *list[] = {&a, &b, &d}, **hit = find(list, 3, 3);
  **hit = 30;
  printf("%d %ld %d\n", d, (long)(hit - list), find(list, 3, 9) == 0);
  void* v = &a;
  *(int*)v += 5;
  int *pa = &a, **ppa = &pa, ***pppa = &ppa;
  ***pppa *= 2;
  *ppa = &b;
  *pa += 40;
  printf("%d %d %d\n", a, b, v == &a && pa > (int*)0);
  p = s;
  *p++ += 5; *++p = 7; (*p)++;
  printf("%d %d %d %d\n", s[0], s[1], s[2], (int)(p - s));
  p += 3; p -= 2;
  printf("%d\n", (int)(p - s));
  return 0;
}
