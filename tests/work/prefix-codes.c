// host
/* Text through optimal prefix codes: counting, a heap, canonical codes, a stream of bits, and back. */
#include "work.h"
#include <stdlib.h>
#include <string.h>

#define SYMBOLS 128
#define TEXT 3000

struct node { int32_t count; int left, right; };

static struct node nodes[2 * SYMBOLS];
static int node_count;
static int heap[SYMBOLS], heap_size;
static unsigned char lengths[SYMBOLS];
static uint16_t codes[SYMBOLS];
static char text[TEXT + 1], back[TEXT + 1];

static int lighter(int a, int b) {
  return nodes[a].count != nodes[b].count ? nodes[a].count < nodes[b].count : a < b;
}

static void heap_push(int n) {
  int at = heap_size++;
  while (at > 0 && lighter(n, heap[(at - 1) / 2])) {
    heap[at] = heap[(at - 1) / 2];
    at = (at - 1) / 2;
  }
  heap[at] = n;
}

static int heap_pop(void) {
  int top = heap[0], last = heap[--heap_size], at = 0;
  for (;;) {
    int child = 2 * at + 1;
    if (child >= heap_size) break;
    if (child + 1 < heap_size && lighter(heap[child + 1], heap[child])) child++;
    if (!lighter(heap[child], last)) break;
    heap[at] = heap[child];
    at = child;
  }
  heap[at] = last;
  return top;
}

static void measure(int n, int depth) {
  if (nodes[n].left < 0) {
    lengths[n] = (unsigned char)(depth ? depth : 1);
    return;
  }
  measure(nodes[n].left, depth + 1);
  measure(nodes[n].right, depth + 1);
}

static void make_codes(void) {
  uint16_t next = 0;
  for (int length = 1; length <= 15; length++) {
    for (int s = 0; s < SYMBOLS; s++)
      if (lengths[s] == length) codes[s] = next++;
    next = (uint16_t)(next << 1);
  }
}

static void build(const char* in) {
  node_count = SYMBOLS;
  heap_size = 0;
  memset(lengths, 0, sizeof lengths);
  for (int s = 0; s < SYMBOLS; s++) nodes[s] = (struct node){0, -1, -1};
  for (; *in; in++) nodes[(unsigned char)*in].count++;
  for (int s = 0; s < SYMBOLS; s++)
    if (nodes[s].count) heap_push(s);
  while (heap_size > 1) {
    int a = heap_pop(), b = heap_pop();
    nodes[node_count] = (struct node){nodes[a].count + nodes[b].count, a, b};
    heap_push(node_count++);
  }
  measure(heap_pop(), 0);
  make_codes();
}

struct bits {
  uint16_t* words;
  int word, used;
};

static void put_bits(struct bits* b, uint16_t value, int count) {
  while (count-- > 0) {
    if (value >> count & 1) b->words[b->word] |= (uint16_t)(1u << b->used);
    if (++b->used == 16) b->used = 0, b->word++;
  }
}

static int get_bit(struct bits* b) {
  int bit = b->words[b->word] >> b->used & 1;
  if (++b->used == 16) b->used = 0, b->word++;
  return bit;
}

static int decode(struct bits* b, const uint16_t first[16], const int start[16], const int count[16],
                  const unsigned char* by_code) {
  uint16_t code = 0;
  for (int length = 1; length < 16; length++) {
    code = (uint16_t)(code << 1 | get_bit(b));
    if (count[length] && code - first[length] < count[length] && code >= first[length])
      return by_code[start[length] + code - first[length]];
  }
  return 0;
}

static void write_text(int seed) {
  static const char* const words[] = {"signal", "the", "filter", "of", "gain", "and", "loop", "a", "window", "to"};
  int at = 0;
  work_seed = (uint32_t)seed;
  while (at < TEXT - 10) {
    const char* w = words[next_random() * (next_random() & 1 ? 1u : 3u) % 10];
    while (*w) text[at++] = *w++;
    text[at++] = next_random() % 12 ? ' ' : '.';
  }
  text[at] = 0;
}

int main(void) {
  uint16_t* stream = calloc(TEXT, sizeof *stream);
  uint32_t sum = 0, total = 0;
  if (!stream) return 1;
  for (int round = 1; round <= 3; round++) {
    struct bits out = {stream, 0, 0}, in = {stream, 0, 0};
    uint16_t first[16];
    int start[16], count[16], at = 0;
    unsigned char by_code[SYMBOLS];
    memset(stream, 0, TEXT * sizeof *stream);
    write_text(round);
    build(text);
    for (const char* p = text; *p; p++) put_bits(&out, codes[(unsigned char)*p], lengths[(unsigned char)*p]);
    for (int length = 1; length < 16; length++) {
      first[length] = 0;
      start[length] = at;
      count[length] = 0;
      for (int s = 0; s < SYMBOLS; s++) {
        if (lengths[s] != length) continue;
        if (!count[length]++) first[length] = codes[s];
        by_code[at++] = (unsigned char)s;
      }
    }
    int n = (int)strlen(text);
    for (int k = 0; k < n; k++) back[k] = (char)decode(&in, first, start, count, by_code);
    back[n] = 0;
    if (strcmp(text, back)) work_faults++;
    printf("round %d: %d characters, %d words\n", round, n, out.word + 1);
    total += (uint32_t)out.word;
    for (int k = 0; k <= out.word; k++) sum = mix(sum, stream[k]);
  }
  free(stream);
  expect("words", total, 0x0000085B);
  expect("stream", sum, 0x77FE27FA);
  return finish();
}
