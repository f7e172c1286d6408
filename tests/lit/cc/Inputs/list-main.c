#include <stdio.h>
#include "list.h"
static int helper(int x) { return x + 1; }
static int count = 5;
int shared;
int tentative;
struct node* head;
int main(void) {
  head = push(head, 3); head = push(head, 4);
  note(&totals, head->value, UP); note(&totals, 2, DOWN);
  shared += helper(10) + count;
  struct stats copy = totals; copy.count++;
  printf("%d %d %ld %d %d %d %d %d\n", length(head), shared, totals.sum, totals.count, copy.count, table[2], ops[0](4), ops[1](4));
  printf("%d\n", tentative);
  return 0;
}
