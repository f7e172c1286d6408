// host
#include <stdio.h>
#include <stdlib.h>

struct tree { int key, height; struct tree *left, *right; };
static int nodes;

static int height(const struct tree* t) { return t ? t->height : 0; }
static struct tree* fix(struct tree* t) { int l = height(t->left), r = height(t->right); t->height = (l > r ? l : r) + 1; return t; }
static struct tree* rotate(struct tree* t, int to_left) {
  struct tree* up = to_left ? t->right : t->left;
  *(to_left ? &t->right : &t->left) = to_left ? up->left : up->right;
  *(to_left ? &up->left : &up->right) = fix(t);
  return fix(up);
}
static struct tree* balance(struct tree* t) {
  fix(t);
  int lean = height(t->left) - height(t->right);
  if (lean > 1) { if (height(t->left->left) < height(t->left->right)) t->left = rotate(t->left, 1); return rotate(t, 0); }
  if (lean < -1) { if (height(t->right->right) < height(t->right->left)) t->right = rotate(t->right, 0); return rotate(t, 1); }
  return t;
}
static struct tree* insert(struct tree* t, int key) {
  if (!t) { t = malloc(sizeof *t); *t = (struct tree){.key = key, .height = 1}; nodes++; return t; }
  if (key < t->key) t->left = insert(t->left, key);
  else if (key > t->key) t->right = insert(t->right, key);
  return balance(t);
}
static struct tree* drop_least(struct tree* t, struct tree** least) { if (!t->left) { *least = t; return t->right; } t->left = drop_least(t->left, least); return balance(t); }
static struct tree* drop(struct tree* t, int key) {
  if (!t) return 0;
  if (key == t->key) {
    struct tree *l = t->left, *r = t->right, *least;
    free(t);
    nodes--;
    if (!r) return l;
    r = drop_least(r, &least);
    least->left = l;
    least->right = r;
    return balance(least);
  }
  if (key < t->key) t->left = drop(t->left, key); else t->right = drop(t->right, key);
  return balance(t);
}
static void walk(const struct tree* t, void (*visit)(int, int), int depth) { if (!t) return; walk(t->left, visit, depth + 1); visit(t->key, depth); walk(t->right, visit, depth + 1); }
static unsigned sum;
static void add(int key, int depth) { sum = (sum * 31 + (unsigned)key * 7 + (unsigned)depth) & 0xFFFF; }

int main(void) {
  struct tree* t = 0;
  for (int i = 0; i < 200; i++) t = insert(t, i * 73 % 211);
  walk(t, add, 0);
  printf("%d %d %u\n", nodes, t->height, sum);
  for (int i = 0; i < 150; i++) t = drop(t, i * 31 % 211);
  walk(t, add, 0);
  printf("%d %d %u\n", nodes, t->height, sum);
  return 0;
}
