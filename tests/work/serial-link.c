// host
/* Two stations over a line that loses and damages bytes: stuffed frames, windows, timers, bit-fields. */
#include "work.h"
#include <stdbool.h>
#include <string.h>

#define WINDOW 4
#define PAYLOAD 24
#define LINE 400
#define MESSAGE 900

enum { FLAG = 0x7E, ESCAPE = 0x7D };
enum frame_kind { DATA, ACK, REJECT };

struct header {
  unsigned kind : 2;
  unsigned sequence : 3;
  unsigned expected : 3;
  unsigned length : 5;
};

struct line { unsigned char bytes[LINE]; int head, tail; int32_t sent, lost, damaged; };

struct station {
  struct line *out, *in;
  unsigned next, base, expected; /* sequence numbers modulo 8 */
  struct { unsigned char bytes[PAYLOAD]; int length; } window[8];
  int timer, resent, rejected;
  const unsigned char* source;
  int source_left;
  unsigned char* sink;
  int received;
  unsigned char frame[64];
  int frame_length;
  bool escaped, reject_sent;
};

static void line_put(struct line* l, unsigned char c) {
  l->sent++;
  if (next_random() % 700 == 0) {
    l->lost++;
    return;
  }
  if (next_random() % 500 == 0) {
    c ^= (unsigned char)(1u << next_random() % 8);
    l->damaged++;
  }
  l->bytes[l->tail] = c;
  l->tail = (l->tail + 1) % LINE;
}

static int line_get(struct line* l) {
  if (l->head == l->tail) return -1;
  int c = l->bytes[l->head];
  l->head = (l->head + 1) % LINE;
  return c;
}

static uint16_t check_step(uint16_t sum, unsigned char c) {
  sum ^= (uint16_t)((uint16_t)c << 8);
  for (int k = 0; k < 8; k++) sum = (uint16_t)(sum & 0x8000 ? sum << 1 ^ 0x1021 : sum << 1);
  return sum;
}

static void put_stuffed(struct line* l, unsigned char c) {
  if (c == FLAG || c == ESCAPE) {
    line_put(l, ESCAPE);
    c ^= 0x20;
  }
  line_put(l, c);
}

static void send_frame(struct station* s, enum frame_kind kind, unsigned sequence, const unsigned char* payload, int length) {
  struct header h = {kind, sequence, s->expected, (unsigned)length};
  unsigned char bytes[2 + PAYLOAD];
  uint16_t sum = 0xFFFF;
  bytes[0] = (unsigned char)(h.kind << 6 | h.sequence << 3 | h.expected);
  bytes[1] = (unsigned char)h.length;
  if (length) memcpy(bytes + 2, payload, (size_t)length);
  line_put(s->out, FLAG);
  for (int k = 0; k < 2 + length; k++) {
    sum = check_step(sum, bytes[k]);
    put_stuffed(s->out, bytes[k]);
  }
  put_stuffed(s->out, (unsigned char)(sum >> 8));
  put_stuffed(s->out, (unsigned char)(sum & 0xFF));
  line_put(s->out, FLAG);
}

static void resend(struct station* s) {
  for (unsigned k = s->base; k != s->next; k = (k + 1) % 8) {
    send_frame(s, DATA, k, s->window[k].bytes, s->window[k].length);
    s->resent++;
  }
  s->timer = 40;
}

static void acknowledged(struct station* s, unsigned expected) {
  unsigned outstanding = (s->next - s->base) % 8, ahead = (expected - s->base) % 8;
  if (ahead > outstanding) return; /* an old one */
  s->base = expected;
  s->timer = s->base == s->next ? 0 : 40;
}

static void handle_frame(struct station* s) {
  uint16_t sum = 0xFFFF;
  int n = s->frame_length;
  if (n < 4) return;
  for (int k = 0; k < n; k++) sum = check_step(sum, s->frame[k]);
  if (sum != 0) return;
  struct header h;
  h.kind = s->frame[0] >> 6;
  h.sequence = s->frame[0] >> 3;
  h.expected = s->frame[0];
  h.length = s->frame[1];
  if (h.length != (unsigned)(n - 4)) return;
  acknowledged(s, h.expected);
  switch (h.kind) {
  case REJECT: resend(s); break;
  case DATA:
    if (h.sequence == s->expected) {
      memcpy(s->sink + s->received, s->frame + 2, h.length);
      s->received += (int)h.length;
      s->expected = (s->expected + 1) % 8;
      s->reject_sent = false;
      send_frame(s, ACK, 0, 0, 0);
    } else if (!s->reject_sent) {
      s->rejected++;
      s->reject_sent = true;
      send_frame(s, REJECT, 0, 0, 0);
    } else {
      send_frame(s, ACK, 0, 0, 0);
    }
    break;
  default: break;
  }
}

static void receive(struct station* s) {
  for (int c; (c = line_get(s->in)) >= 0;) {
    if (c == FLAG) {
      handle_frame(s);
      s->frame_length = 0;
      s->escaped = false;
    } else if (c == ESCAPE) {
      s->escaped = true;
    } else if (s->frame_length < (int)sizeof s->frame) {
      s->frame[s->frame_length++] = (unsigned char)(s->escaped ? c ^ 0x20 : c);
      s->escaped = false;
    }
  }
}

static void transmit(struct station* s) {
  if (s->timer > 0 && --s->timer == 0) resend(s);
  while (s->source_left > 0 && (s->next - s->base) % 8 < WINDOW) {
    int length = s->source_left < PAYLOAD ? s->source_left : PAYLOAD;
    memcpy(s->window[s->next].bytes, s->source, (size_t)length);
    s->window[s->next].length = length;
    send_frame(s, DATA, s->next, s->source, length);
    s->next = (s->next + 1) % 8;
    s->source += length;
    s->source_left -= length;
    if (!s->timer) s->timer = 40;
  }
}

int main(void) {
  static struct line there, back;
  static struct station a, b;
  static unsigned char text[2][MESSAGE], got[2][MESSAGE + PAYLOAD];
  int ticks = 0;
  for (int k = 0; k < MESSAGE; k++) {
    text[0][k] = (unsigned char)(k % 11 == 0 ? FLAG : k * 5 & 0xFF);
    text[1][k] = (unsigned char)(k % 7 == 0 ? ESCAPE : k * 3 & 0xFF);
  }
  a.out = b.in = &there;
  a.in = b.out = &back;
  a.source = text[0];
  b.source = text[1];
  a.sink = got[1];
  b.sink = got[0];
  a.source_left = MESSAGE;
  b.source_left = MESSAGE / 2;
  for (; ticks < 3000 && (b.received < MESSAGE || a.received < MESSAGE / 2); ticks++) {
    transmit(&a);
    receive(&b);
    transmit(&b);
    receive(&a);
  }
  printf("%d ticks, sent %ld and %ld, lost %ld, damaged %ld\n", ticks, (long)there.sent, (long)back.sent,
         (long)(there.lost + back.lost), (long)(there.damaged + back.damaged));
  expect("resent", (uint32_t)(a.resent * 100 + b.resent), 0x000001F9);
  expect("rejected", (uint32_t)(a.rejected * 100 + b.rejected), 0x00000066);
  expect("first is whole", b.received == MESSAGE && !memcmp(got[0], text[0], MESSAGE), 1);
  expect("second is whole", a.received == MESSAGE / 2 && !memcmp(got[1], text[1], MESSAGE / 2), 1);
  return finish();
}
