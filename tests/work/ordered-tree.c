// host
/* A balanced tree with insertion, removal and ranges on blocks of the heap, beside a plain table. */
#include "work.h"
#include <stdlib.h>
#include <string.h>

typedef struct Node Node;
struct Node {
  Node* child[2];
  int16_t key, height;
  int32_t value;
  int size;
};

static int live;

static Node* make(int16_t key, int32_t value) {
  Node* n = calloc(1, sizeof *n);
  if (!n) abort();
  n->key = key;
  n->value = value;
  n->height = 1;
  n->size = 1;
  live++;
  return n;
}

static int height(const Node* n) { return n ? n->height : 0; }
static int size(const Node* n) { return n ? n->size : 0; }

static void refresh(Node* n) {
  int a = height(n->child[0]), b = height(n->child[1]);
  n->height = (int16_t)((a > b ? a : b) + 1);
  n->size = size(n->child[0]) + size(n->child[1]) + 1;
}

static Node* rotate(Node* n, int side) {
  Node* up = n->child[side];
  n->child[side] = up->child[!side];
  up->child[!side] = n;
  refresh(n);
  refresh(up);
  return up;
}

static Node* balance(Node* n) {
  refresh(n);
  int lean = height(n->child[1]) - height(n->child[0]);
  if (lean >= -1 && lean <= 1) return n;
  int side = lean > 0;
  Node* c = n->child[side];
  if (height(c->child[!side]) > height(c->child[side])) n->child[side] = rotate(c, !side);
  return rotate(n, side);
}

static Node* insert(Node* n, int16_t key, int32_t value) {
  if (!n) return make(key, value);
  if (n->key == key) {
    n->value = value;
    return n;
  }
  int side = key > n->key;
  n->child[side] = insert(n->child[side], key, value);
  return balance(n);
}

static Node* take_least(Node* n, Node** least) {
  if (!n->child[0]) {
    *least = n;
    return n->child[1];
  }
  n->child[0] = take_least(n->child[0], least);
  return balance(n);
}

static Node* drop(Node* n, int16_t key) {
  if (!n) return 0;
  if (n->key != key) {
    int side = key > n->key;
    n->child[side] = drop(n->child[side], key);
    return balance(n);
  }
  Node *left = n->child[0], *right = n->child[1], *least;
  free(n);
  live--;
  if (!right) return left;
  right = take_least(right, &least);
  least->child[0] = left;
  least->child[1] = right;
  return balance(least);
}

static const Node* find(const Node* n, int16_t key) {
  while (n && n->key != key) n = n->child[key > n->key];
  return n;
}

static const Node* at_rank(const Node* n, int rank) {
  while (n) {
    int left = size(n->child[0]);
    if (rank == left) return n;
    if (rank < left) n = n->child[0];
    else {
      rank -= left + 1;
      n = n->child[1];
    }
  }
  return 0;
}

struct range { int16_t low, high; int32_t sum; int count; };

static void visit(const Node* n, struct range* r, void (*each)(struct range*, const Node*)) {
  if (!n) return;
  if (n->key > r->low) visit(n->child[0], r, each);
  if (n->key >= r->low && n->key <= r->high) each(r, n);
  if (n->key < r->high) visit(n->child[1], r, each);
}
static void add(struct range* r, const Node* n) {
  r->sum += n->value;
  r->count++;
}

static int sound(const Node* n, int32_t low, int32_t high) {
  if (!n) return 1;
  int lean = height(n->child[1]) - height(n->child[0]);
  return n->key > low && n->key < high && lean >= -1 && lean <= 1 && sound(n->child[0], low, n->key) &&
         sound(n->child[1], n->key, high);
}

static void clear(Node* n) {
  if (!n) return;
  clear(n->child[0]);
  clear(n->child[1]);
  free(n);
  live--;
}

#define KEYS 700
static int32_t table[KEYS];
static unsigned char present[KEYS];

int main(void) {
  Node* root = 0;
  uint32_t sum = 0;
  int most = 0;
  for (int step = 0; step < 2500; step++) {
    int16_t key = (int16_t)(step < 500 ? step : (int)(next_random() % KEYS));
    if (step < 500 || next_random() % 3) {
      int32_t value = (int32_t)(next_random() % 10000);
      root = insert(root, key, value);
      table[key] = value;
      present[key] = 1;
    } else {
      root = drop(root, key);
      present[key] = 0;
    }
    if (height(root) > most) most = height(root);
    if (step % 100 == 99) {
      struct range r = {(int16_t)(step / 10), (int16_t)(step / 10 + 300), 0, 0};
      int32_t wanted = 0;
      visit(root, &r, add);
      for (int k = r.low; k <= r.high && k < KEYS; k++)
        if (present[k]) wanted += table[k];
      if (wanted != r.sum || !sound(root, -1, KEYS)) work_faults++;
      const Node* middle = at_rank(root, size(root) / 2);
      sum = mix(sum, (uint32_t)r.sum ^ (uint32_t)middle->key);
    }
  }
  for (int k = 0; k < KEYS; k++) {
    const Node* n = find(root, (int16_t)k);
    if ((n != 0) != present[k] || (n && n->value != table[k])) work_faults++;
  }
  printf("%d nodes, height %d\n", size(root), most);
  expect("live", live == size(root), 1);
  clear(root);
  expect("all freed", (uint32_t)live, 0);
  expect("height", most <= 12, 1);
  expect("ranges", sum, 0xBB5D6BD8);
  return finish();
}
