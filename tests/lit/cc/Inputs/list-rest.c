#include <stdlib.h>
#include "list.h"
static int count;
static int helper(int x) { count++; return x * 100; }
int table[4] = {1, 2, 3, 4};
int tentative = 77;
int shared;
struct stats totals = {1, 0};
struct node* push(struct node* list, int value) { struct node* n = malloc(sizeof *n); n->next = list; n->value = value; helper(1); return n; }
int length(const struct node* n) { int k = 0; for (; n; n = n->next) k++; return k * 10 + count; }
void note(struct stats* s, int v, enum mode m) { s->sum += m == UP ? v : -v; s->count++; }
const op ops[2] = {helper, abs};
