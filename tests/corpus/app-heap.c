// host
#include <stdio.h>

/* Shortest paths with a binary heap, and the same by relaxation. */
#define N 12
struct item { int node; long cost; };
static struct item heap[100];
static int size;
static long weight[N][N], dist[N], check[N];

static void push(int node, long cost) {
  int k = size++;
  while (k && heap[(k - 1) / 2].cost > cost) { heap[k] = heap[(k - 1) / 2]; k = (k - 1) / 2; }
  heap[k].node = node; heap[k].cost = cost;
}
static struct item pop(void) {
  struct item top = heap[0], last = heap[--size];
  int k = 0;
  for (int c; (c = 2 * k + 1) < size; k = c) {
    if (c + 1 < size && heap[c + 1].cost < heap[c].cost) c++;
    if (heap[c].cost >= last.cost) break;
    heap[k] = heap[c];
  }
  heap[k] = last;
  return top;
}

int main(void) {
  for (int i = 0; i < N; i++) for (int j = 0; j < N; j++) weight[i][j] = (i * 5 + j * 7) % 4 == 0 && i != j ? 1000L * ((i * 3 + j * 11) % 17 + 1) : 0;
  for (int i = 0; i < N; i++) dist[i] = check[i] = i ? 0x3FFFFFFFL : 0;
  push(0, 0);
  int pops = 0;
  while (size) {
    struct item t = pop();
    pops++;
    if (t.cost > dist[t.node]) continue;
    for (int j = 0; j < N; j++)
      if (weight[t.node][j] && t.cost + weight[t.node][j] < dist[j]) push(j, dist[j] = t.cost + weight[t.node][j]);
  }
  int changed;
  do {
    changed = 0;
    for (int i = 0; i < N; i++) for (int j = 0; j < N; j++)
      if (weight[i][j] && check[i] + weight[i][j] < check[j]) { check[j] = check[i] + weight[i][j]; changed = 1; }
  } while (changed);
  int same = 1;
  for (int i = 0; i < N; i++) { same &= check[i] == dist[i]; printf("%ld ", dist[i] == 0x3FFFFFFFL ? -1L : dist[i]); }
  printf("%d %d\n", pops, same);
  return 0;
}
