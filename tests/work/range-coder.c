// host
/* Adaptive coding by intervals: contexts of the last symbol, counts that age, carry by 64 bits. */
#include "work.h"
#include <string.h>

#define SYMBOLS 16
#define CONTEXTS 16
#define LIMIT 2000
#define LENGTH 2500

typedef struct {
  uint16_t count[SYMBOLS];
  uint16_t total;
} Model;

typedef struct {
  uint64_t low;
  uint32_t range;
  unsigned char cache;
  int32_t pending;
  unsigned char* out;
  int at;
} Encoder;

typedef struct {
  uint32_t range, code;
  const unsigned char* in;
  int at;
} Decoder;

static Model models[CONTEXTS];
static unsigned char message[LENGTH], coded[LENGTH + 64], received[LENGTH];

static void reset_models(void) {
  for (int c = 0; c < CONTEXTS; c++) {
    for (int s = 0; s < SYMBOLS; s++) models[c].count[s] = 1;
    models[c].total = SYMBOLS;
  }
}

static void update(Model* m, int symbol) {
  m->count[symbol] = (uint16_t)(m->count[symbol] + 24);
  m->total = (uint16_t)(m->total + 24);
  if (m->total < LIMIT) return;
  m->total = 0;
  for (int s = 0; s < SYMBOLS; s++) {
    m->count[s] = (uint16_t)((m->count[s] >> 1) + 1);
    m->total = (uint16_t)(m->total + m->count[s]);
  }
}

static void shift_low(Encoder* e) {
  if (e->low < 0xFF000000u || e->low >> 32) {
    unsigned char carry = (unsigned char)(e->low >> 32);
    if (e->at >= 0) e->out[e->at] = (unsigned char)((e->cache + carry) & 0xFF);
    e->at++;
    for (; e->pending > 0; e->pending--) e->out[e->at++] = (unsigned char)((0xFF + carry) & 0xFF);
    e->cache = (unsigned char)(e->low >> 24 & 0xFF);
  } else {
    e->pending++;
  }
  e->low = (e->low & 0x00FFFFFFu) << 8;
}

static void encode(Encoder* e, Model* m, int symbol) {
  uint32_t below = 0, part = e->range / m->total;
  for (int s = 0; s < symbol; s++) below += m->count[s];
  e->low += (uint64_t)part * below;
  e->range = part * m->count[symbol];
  while (e->range < 0x1000000u) {
    e->range = (e->range << 8) & 0xFFFFFFFFu;
    shift_low(e);
  }
  update(m, symbol);
}

static int decode(Decoder* d, Model* m) {
  uint32_t part = d->range / m->total, at = d->code / part, below = 0;
  int symbol = 0;
  if (at >= m->total) at = m->total - 1u;
  while (below + m->count[symbol] <= at) below += m->count[symbol++];
  d->code -= part * below;
  d->range = part * m->count[symbol];
  while (d->range < 0x1000000u) {
    d->code = ((d->code << 8) & 0xFFFFFFFFu) | d->in[d->at++];
    d->range = (d->range << 8) & 0xFFFFFFFFu;
  }
  update(m, symbol);
  return symbol;
}

static int encode_all(const unsigned char* in, int n) {
  Encoder e = {0, 0xFFFFFFFFu, 0, 0, coded, -1};
  int context = 0;
  reset_models();
  for (int k = 0; k < n; k++) {
    encode(&e, &models[context], in[k]);
    context = in[k];
  }
  for (int k = 0; k < 5; k++) shift_low(&e);
  return e.at;
}

static void decode_all(unsigned char* out, int n) {
  Decoder d = {0xFFFFFFFFu, 0, coded, 0};
  int context = 0;
  for (int k = 0; k < 4; k++) d.code = d.code << 8 | d.in[d.at++];
  reset_models();
  for (int k = 0; k < n; k++) out[k] = (unsigned char)(context = decode(&d, &models[context]));
}

static void compose(int kind) {
  int last = 0;
  for (int k = 0; k < LENGTH; k++) {
    uint32_t r = next_random();
    if (kind == 0) last = (int)(r % SYMBOLS);
    else if (kind == 1) last = r % 10 ? (last + 1) % SYMBOLS : (int)(r / 16 % SYMBOLS);
    else last = r % 50 ? 7 : 3;
    message[k] = (unsigned char)last;
  }
}

int main(void) {
  uint32_t sum = 0;
  int sizes[3];
  for (int kind = 0; kind < 3; kind++) {
    compose(kind);
    sizes[kind] = encode_all(message, LENGTH);
    memset(received, 99, sizeof received);
    decode_all(received, LENGTH);
    if (memcmp(message, received, LENGTH)) work_faults++;
    for (int k = 0; k < sizes[kind]; k++) sum = mix(sum, coded[k]);
    printf("kind %d: %d bytes\n", kind, sizes[kind]);
  }
  expect("no gain from noise", sizes[0] > LENGTH / 2 && sizes[0] < LENGTH * 3 / 5, 1);
  expect("steps", (uint32_t)sizes[1], 0x00000134);
  expect("runs", (uint32_t)sizes[2], 0x0000003C);
  expect("bytes", sum, 0x61C09D40);
  return finish();
}
