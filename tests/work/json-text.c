// host
/* A structured text is parsed into a tree on an arena, queried, changed and printed again. */
#include "work.h"
#include <stdbool.h>
#include <stddef.h>
#include <string.h>

typedef enum { NOTHING, BOOLEAN, NUMBER, TEXT, LIST, OBJECT } Kind;

typedef struct Value Value;
struct Value {
  Kind kind;
  const char* key; /* of a member */
  Value* next;
  union {
    bool truth;
    int32_t number; /* in hundredths */
    const char* text;
    struct { Value *first, *last; int count; } items;
  } u;
};

typedef struct { const char *at, *fault; int depth; } Parser;

static union { Value align; char bytes[24000]; } arena;
static size_t arena_used;

static void* take(size_t n) {
  n = (n + sizeof(long) - 1) / sizeof(long) * sizeof(long);
  if (arena_used + n > sizeof arena.bytes) return NULL;
  void* p = &arena.bytes[arena_used];
  arena_used += n;
  return p;
}

static Value* fail(Parser* p, const char* text) {
  if (!p->fault) p->fault = text;
  return NULL;
}

static Value* make(Kind kind) {
  Value* v = take(sizeof *v);
  if (!v) return NULL;
  memset(v, 0, sizeof *v);
  v->kind = kind;
  return v;
}

static void skip(Parser* p) {
  while (*p->at == ' ' || *p->at == '\n' || *p->at == '\t') p->at++;
}

static bool word(Parser* p, const char* w) {
  size_t n = strlen(w);
  if (strncmp(p->at, w, n)) return false;
  p->at += n;
  return true;
}

static const char* parse_text(Parser* p) {
  const char* from = ++p->at;
  int n = 0;
  for (; *p->at && *p->at != '"'; p->at++, n++)
    if (*p->at == '\\') p->at++;
  if (!*p->at) return (const char*)fail(p, "an open text");
  char* to = take((size_t)n + 1);
  if (!to) return NULL;
  char* out = to;
  for (; from < p->at; from++) {
    if (*from == '\\') {
      from++;
      *out++ = *from == 'n' ? '\n' : *from == 't' ? '\t' : *from;
    } else {
      *out++ = *from;
    }
  }
  *out = 0;
  p->at++;
  return to;
}

static void append(Value* list, Value* item) {
  if (list->u.items.last) list->u.items.last->next = item;
  else list->u.items.first = item;
  list->u.items.last = item;
  list->u.items.count++;
}

static Value* parse_value(Parser* p);

static Value* parse_items(Parser* p, Kind kind, char end) {
  Value* list = make(kind);
  p->at++;
  skip(p);
  if (*p->at == end) return p->at++, list;
  for (;;) {
    const char* key = NULL;
    skip(p);
    if (kind == OBJECT) {
      if (*p->at != '"') return fail(p, "no key");
      key = parse_text(p);
      skip(p);
      if (*p->at++ != ':') return fail(p, "no colon");
    }
    Value* item = parse_value(p);
    if (!item || !list) return NULL;
    item->key = key;
    append(list, item);
    skip(p);
    if (*p->at == end) return p->at++, list;
    if (*p->at++ != ',') return fail(p, "no comma");
  }
}

static Value* parse_number(Parser* p) {
  bool minus = *p->at == '-';
  int32_t n = 0;
  int digits = -1;
  p->at += minus;
  if (*p->at < '0' || *p->at > '9') return fail(p, "no value");
  for (;; p->at++) {
    if (*p->at == '.' && digits < 0) digits = 0;
    else if (*p->at >= '0' && *p->at <= '9' && digits < 2) n = n * 10 + (*p->at - '0'), digits += digits >= 0;
    else break;
  }
  for (digits = digits < 0 ? 0 : digits; digits < 2; digits++) n *= 10;
  Value* v = make(NUMBER);
  if (v) v->u.number = minus ? -n : n;
  return v;
}

static Value* parse_value(Parser* p) {
  Value* v;
  if (++p->depth > 20) return fail(p, "too deep");
  skip(p);
  switch (*p->at) {
  case '{': v = parse_items(p, OBJECT, '}'); break;
  case '[': v = parse_items(p, LIST, ']'); break;
  case '"': {
    const char* text = parse_text(p);
    v = text ? make(TEXT) : NULL;
    if (v) v->u.text = text;
    break;
  }
  case 't':
  case 'f': {
    bool truth = *p->at == 't';
    v = word(p, truth ? "true" : "false") ? make(BOOLEAN) : fail(p, "a strange word");
    if (v) v->u.truth = truth;
    break;
  }
  case 'n': v = word(p, "null") ? make(NOTHING) : fail(p, "a strange word"); break;
  default: v = parse_number(p);
  }
  p->depth--;
  return v;
}

static char printed[3000];
static int printed_size;
static void emit(const char* s) {
  while (*s && printed_size < (int)sizeof printed - 1) printed[printed_size++] = *s++;
  printed[printed_size] = 0;
}

static void print(const Value* v) {
  char number[16];
  switch (v->kind) {
  case NOTHING: emit("null"); break;
  case BOOLEAN: emit(v->u.truth ? "true" : "false"); break;
  case NUMBER: {
    long n = v->u.number;
    if (n < 0) emit("-"), n = -n;
    if (n % 100) sprintf(number, "%ld.%02ld", n / 100, n % 100);
    else sprintf(number, "%ld", n / 100);
    emit(number);
    break;
  }
  case TEXT:
    emit("\"");
    emit(v->u.text);
    emit("\"");
    break;
  default:
    emit(v->kind == LIST ? "[" : "{");
    for (const Value* item = v->u.items.first; item; item = item->next) {
      if (item->key) emit("\""), emit(item->key), emit("\":");
      print(item);
      if (item->next) emit(",");
    }
    emit(v->kind == LIST ? "]" : "}");
  }
}

static Value* member(const Value* v, const char* key) {
  if (!v || v->kind != OBJECT) return NULL;
  for (Value* m = v->u.items.first; m; m = m->next)
    if (!strcmp(m->key, key)) return m;
  return NULL;
}

static int32_t total(const Value* v) {
  int32_t sum = 0;
  if (v->kind == NUMBER) return v->u.number;
  if (v->kind == LIST || v->kind == OBJECT)
    for (const Value* m = v->u.items.first; m; m = m->next) sum += total(m);
  return sum;
}

static const char document[] =
  "{ \"name\": \"pump \\\"A\\\"\", \"on\": true, \"limits\": [1, -2.5, 30.75, [4, 5, []], {}],\n"
  "  \"steps\": [ {\"at\": 0, \"do\": \"open\"}, {\"at\": 12.5, \"do\": \"close\", \"note\": null},\n"
  "  {\"at\": 13, \"do\": \"wait\", \"for\": {\"sensor\": 3, \"above\": 70.2}}], \"last\": false }";

int main(void) {
  static const char* const broken[] = {"{\"a\" 1}", "[1, 2", "{\"a\": tru}", "\"open", "[[[[[[[[[[[[[[[[[[[[[1", "-"};
  uint32_t sum = 0;
  for (int round = 0; round < 60; round++) {
    Parser p = {document, NULL, 0};
    arena_used = 0;
    Value* v = parse_value(&p);
    if (!v) return 1;
    Value* steps = member(v, "steps");
    steps->u.items.first->u.items.first->u.number = round * 150;
    member(v, "on")->u.truth = round & 1;
    printed_size = 0;
    print(v);
    Parser again = {printed, NULL, 0};
    Value* w = parse_value(&again);
    if (round == 0) expect("refuses its own quotes", w == NULL, 1);
    sum = mix(sum, (uint32_t)total(v));
    for (int k = 0; k < printed_size; k++) sum = mix(sum, (uint32_t)printed[k]);
  }
  puts(printed);
  for (unsigned k = 0; k < sizeof broken / sizeof *broken; k++) {
    Parser p = {broken[k], NULL, 0};
    arena_used = 0;
    if (parse_value(&p)) work_faults++;
    printf("%s: %s\n", broken[k], p.fault ? p.fault : "good");
  }
  expect("printed", sum, 0x949EDBFC);
  return finish();
}
