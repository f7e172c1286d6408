// host
/* Compression by references into a window, found through chains of hashes, with lazy choice. */
#include "work.h"
#include <stdlib.h>
#include <string.h>

#define WINDOW 1024
#define HASHES 256
#define SHORTEST 3
#define LONGEST 34

typedef unsigned char byte;

struct matcher {
  const byte* data;
  int size;
  int head[HASHES];
  int previous[WINDOW];
};

struct writer { byte* out; int at, flags_at, flags; };

static unsigned hash(const byte* p) { return (unsigned)((p[0] * 7 ^ p[1] * 31 ^ p[2] * 113) & (HASHES - 1)); }

static void enter(struct matcher* m, int at) {
  if (at + SHORTEST > m->size) return;
  unsigned h = hash(m->data + at);
  m->previous[at % WINDOW] = m->head[h];
  m->head[h] = at;
}

static int find(const struct matcher* m, int at, int* where) {
  int best = 0, tries = 24;
  if (at + SHORTEST > m->size) return 0;
  for (int k = m->head[hash(m->data + at)]; k >= 0 && at - k < WINDOW && tries-- > 0; k = m->previous[k % WINDOW]) {
    int n = 0;
    if (best && m->data[k + best] != m->data[at + best]) continue;
    while (n < LONGEST && at + n < m->size && m->data[k + n] == m->data[at + n]) n++;
    if (n > best) {
      best = n;
      *where = at - k;
      if (n == LONGEST) break;
    }
    if (at + best >= m->size) break;
  }
  return best >= SHORTEST ? best : 0;
}

static void put_flag(struct writer* w, int flag) {
  if (w->flags == 8) {
    w->flags_at = w->at++;
    w->out[w->flags_at] = 0;
    w->flags = 0;
  }
  if (flag) w->out[w->flags_at] |= (byte)(1 << w->flags);
  w->flags++;
}

static int compress(const byte* data, int size, byte* out) {
  static struct matcher m;
  struct writer w = {out, 0, 0, 8};
  m.data = data;
  m.size = size;
  for (int k = 0; k < HASHES; k++) m.head[k] = -1;
  for (int at = 0; at < size;) {
    int back = 0, later = 0;
    int length = find(&m, at, &back);
    enter(&m, at);
    if (length && length < LONGEST && at + 1 < size && find(&m, at + 1, &later) > length) length = 0;
    put_flag(&w, length != 0);
    if (!length) {
      w.out[w.at++] = data[at++];
      continue;
    }
    w.out[w.at++] = (byte)(back & 0xFF);
    w.out[w.at++] = (byte)((back >> 8) << 6 | (length - SHORTEST));
    while (--length > 0) enter(&m, ++at);
    at++;
  }
  return w.at;
}

static int expand(const byte* in, int size, byte* out) {
  int at = 0, to = 0, flags = 0, count = 8;
  while (at < size) {
    if (count == 8) {
      flags = in[at++];
      count = 0;
    }
    if (flags >> count++ & 1) {
      int back = in[at] | (in[at + 1] >> 6) << 8, length = (in[at + 1] & 63) + SHORTEST;
      at += 2;
      for (; length > 0; length--, to++) out[to] = out[to - back];
    } else {
      out[to++] = in[at++];
    }
  }
  return to;
}

static int fill(byte* to, int size, int kind) {
  static const char* const lines[] = {"if (x > 0) return x;\n", "for (k = 0; k < n; k++)\n", "  sum += table[k];\n"};
  int at = 0;
  switch (kind) {
  case 0:
    while (at < size) to[at] = (byte)(next_random() & 255), at++;
    break;
  case 1:
    for (; at < size; at++) to[at] = (byte)(at % 50 < 25 ? 'a' + at % 5 : 'x');
    break;
  default:
    while (at + 30 < size) {
      const char* line = lines[next_random() % 3];
      int n = (int)strlen(line);
      memcpy(to + at, line, (size_t)n);
      at += n;
      if (next_random() % 4 == 0) to[at++] = (byte)('A' + next_random() % 26);
    }
  }
  return at;
}

int main(void) {
  enum { SIZE = 2500 };
  byte *data = malloc(SIZE), *packed = malloc(SIZE * 2), *back = malloc(SIZE);
  uint32_t sum = 0;
  int sizes[3];
  if (!data || !packed || !back) return 1;
  for (int kind = 0; kind < 3; kind++) {
    int size = fill(data, SIZE, kind), n = compress(data, size, packed);
    sizes[kind] = n;
    if (expand(packed, n, back) != size || memcmp(data, back, (size_t)size)) work_faults++;
    for (int k = 0; k < n; k++) sum = mix(sum, packed[k]);
    printf("kind %d: %d to %d\n", kind, size, n);
  }
  free(data);
  free(packed);
  free(back);
  expect("random grows little", sizes[0] < SIZE + SIZE / 7, 1);
  expect("regular", (uint32_t)sizes[1], 0x000000A7);
  expect("text", (uint32_t)sizes[2], 0x0000011B);
  expect("bytes", sum, 0xA4B08306);
  return finish();
}
