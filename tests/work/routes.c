// host
/* Shortest ways, spanning trees, components and orders of graphs held as lists and as matrices. */
#include "work.h"
#include <string.h>

#define NODES 50
#define EDGES 400
#define FAR 30000

struct edge { int to, next; int16_t cost; };

static struct edge edges[EDGES];
static int first[NODES], edge_count;
static int16_t between[NODES][NODES];

static void add_edge(int from, int to, int16_t cost) {
  edges[edge_count] = (struct edge){to, first[from], cost};
  first[from] = edge_count++;
}

static void make_graph(void) {
  edge_count = 0;
  for (int k = 0; k < NODES; k++) first[k] = -1;
  for (int k = 0; k < NODES; k++)
    for (int n = 0; n < 5; n++) {
      int to = (int)(next_random() % NODES);
      if (to != k) add_edge(k, to, (int16_t)(1 + next_random() % 90));
    }
}

/* A heap of nodes by distance, with each node's place in it. */
static int heap[NODES], place[NODES], heap_size;
static int16_t distance[NODES];
static int before[NODES];

static void move_to(int at, int node) {
  heap[at] = node;
  place[node] = at;
}
static void rise(int at) {
  int node = heap[at];
  for (; at > 0 && distance[heap[(at - 1) / 2]] > distance[node]; at = (at - 1) / 2) move_to(at, heap[(at - 1) / 2]);
  move_to(at, node);
}
static void sink(int at) {
  int node = heap[at];
  for (int child; (child = 2 * at + 1) < heap_size; at = child) {
    if (child + 1 < heap_size && distance[heap[child + 1]] < distance[heap[child]]) child++;
    if (distance[heap[child]] >= distance[node]) break;
    move_to(at, heap[child]);
  }
  move_to(at, node);
}

static void shortest(int from) {
  for (int k = 0; k < NODES; k++) {
    distance[k] = FAR;
    before[k] = -1;
    place[k] = -1;
  }
  distance[from] = 0;
  heap_size = 0;
  move_to(heap_size++, from);
  while (heap_size > 0) {
    int node = heap[0];
    move_to(0, heap[--heap_size]);
    if (heap_size) sink(0);
    place[node] = -2;
    for (int e = first[node]; e >= 0; e = edges[e].next) {
      int to = edges[e].to;
      int16_t way = (int16_t)(distance[node] + edges[e].cost);
      if (way >= distance[to]) continue;
      distance[to] = way;
      before[to] = node;
      if (place[to] < 0) move_to(heap_size++, to), rise(heap_size - 1);
      else rise(place[to]);
    }
  }
}

static void all_pairs(void) {
  for (int i = 0; i < NODES; i++)
    for (int j = 0; j < NODES; j++) between[i][j] = i == j ? 0 : FAR;
  for (int i = 0; i < NODES; i++)
    for (int e = first[i]; e >= 0; e = edges[e].next)
      if (edges[e].cost < between[i][edges[e].to]) between[i][edges[e].to] = edges[e].cost;
  for (int k = 0; k < NODES; k++)
    for (int i = 0; i < NODES; i++) {
      if (between[i][k] == FAR) continue;
      for (int j = 0; j < NODES; j++) {
        int32_t way = (int32_t)between[i][k] + between[k][j];
        if (way < between[i][j]) between[i][j] = (int16_t)way;
      }
    }
}

static int parent[NODES];
static int root(int x) {
  while (parent[x] != x) x = parent[x] = parent[parent[x]];
  return x;
}

static int32_t spanning_tree(void) {
  static struct { int a, b; int16_t cost; } sorted[EDGES];
  int count = 0, joined = 0;
  int32_t total = 0;
  for (int k = 0; k < NODES; k++) {
    parent[k] = k;
    for (int e = first[k]; e >= 0; e = edges[e].next) {
      int at = count++;
      for (; at > 0 && sorted[at - 1].cost > edges[e].cost; at--) sorted[at] = sorted[at - 1];
      sorted[at].a = k;
      sorted[at].b = edges[e].to;
      sorted[at].cost = edges[e].cost;
    }
  }
  for (int k = 0; k < count && joined < NODES - 1; k++) {
    int a = root(sorted[k].a), b = root(sorted[k].b);
    if (a == b) continue;
    parent[a] = b;
    total += sorted[k].cost;
    joined++;
  }
  return total;
}

/* Strongly connected components. */
static int number[NODES], low[NODES], stack[NODES], depth, counter, components;
static unsigned char on_stack[NODES];

static void connect(int v) {
  number[v] = low[v] = ++counter;
  stack[depth++] = v;
  on_stack[v] = 1;
  for (int e = first[v]; e >= 0; e = edges[e].next) {
    int w = edges[e].to;
    if (!number[w]) {
      connect(w);
      if (low[w] < low[v]) low[v] = low[w];
    } else if (on_stack[w] && number[w] < low[v]) {
      low[v] = number[w];
    }
  }
  if (low[v] != number[v]) return;
  components++;
  int w;
  do {
    w = stack[--depth];
    on_stack[w] = 0;
  } while (w != v);
}

int main(void) {
  uint32_t sum = 0;
  for (int round = 0; round < 2; round++) {
    make_graph();
    all_pairs();
    for (int from = 0; from < NODES; from += 3) {
      shortest(from);
      for (int k = 0; k < NODES; k++) {
        if (distance[k] != between[from][k]) work_faults++;
        sum = mix(sum, (uint16_t)distance[k]);
      }
      for (int k = 0, hops = 0; k >= 0 && hops < NODES; k = before[k], hops++) sum = mix(sum, (uint32_t)k);
    }
    int32_t tree = spanning_tree();
    memset(number, 0, sizeof number);
    counter = components = depth = 0;
    for (int k = 0; k < NODES; k++)
      if (!number[k]) connect(k);
    printf("tree %ld, components %d\n", (long)tree, components);
    sum = mix(sum, (uint32_t)tree * 64 + (uint32_t)components);
  }
  expect("ways", sum, 0x96A2E0DA);
  return finish();
}
