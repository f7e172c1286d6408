// host
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
/* object style: vtables, inheritance by embedding, visitor, dynamic dispatch, string builder, iterator */
typedef struct shape shape;
struct vtable {
  float (*area)(const shape*);
  const char* (*name)(void);
  void (*destroy)(shape*);
};
struct shape {
  const struct vtable* v;
  int refs;
};
struct circle {
  shape base;
  float r;
};
struct rect {
  shape base;
  float w, h;
};
static int destroyed;
static float circle_area(const shape* s) {
  const struct circle* c = (const struct circle*)s;
  return 3.0f * c->r * c->r;
}
static const char* circle_name(void) { return "circle"; }
static void destroy(shape* s) {
  destroyed++;
  free(s);
}
static float rect_area(const shape* s) {
  const struct rect* r = (const void*)s;
  return r->w * r->h;
}
static const char* rect_name(void) { return "rect"; }
static const struct vtable circle_v = {circle_area, circle_name, destroy},
                           rect_v = {.area = rect_area, .name = rect_name, .destroy = destroy};
static shape* new_circle(float r) {
  struct circle* c = malloc(sizeof *c);
  *c = (struct circle){{&circle_v, 1}, r};
  return &c->base;
}
static shape* new_rect(float w, float h) {
  struct rect* r = malloc(sizeof *r);
  r->base.v = &rect_v;
  r->base.refs = 1;
  r->w = w;
  r->h = h;
  return (shape*)r;
}
static shape* keep(shape* s) {
  s->refs++;
  return s;
}
static void drop(shape* s) {
  if (--s->refs == 0) s->v->destroy(s);
}
struct sb {
  char* p;
  size_t n, cap;
};
static void sb_put(struct sb* b, const char* s) {
  size_t l = strlen(s);
  if (b->n + l + 1 > b->cap) {
    while (b->n + l + 1 > b->cap)
      b->cap = b->cap ? 2 * b->cap : 8;
    b->p = realloc(b->p, b->cap);
  }
  memcpy(b->p + b->n, s, l + 1);
  b->n += l;
}
struct range {
  int at, end, step;
};
static bool range_next(struct range* r, int* v) {
  if (r->step > 0 ? r->at >= r->end : r->at <= r->end) return false;
  *v = r->at;
  r->at += r->step;
  return true;
}
enum ev { EV_NONE, EV_DOWN, EV_UP, EV_MAX };
typedef enum st { ST_IDLE, ST_PRESSED, ST_LONG, ST_N } st;
static const unsigned char next_state[ST_N][EV_MAX] = {[ST_IDLE] = {[EV_DOWN] = ST_PRESSED},
                                                       [ST_PRESSED] = {ST_LONG, ST_PRESSED, ST_IDLE},
                                                       [ST_LONG] = {ST_LONG, ST_LONG, ST_IDLE}};
static void matrix_apply(float m[static 2][2], float v[2]) {
  float a = m[0][0] * v[0] + m[0][1] * v[1], b = m[1][0] * v[0] + m[1][1] * v[1];
  v[0] = a;
  v[1] = b;
}
int main(void) {
  shape* s[3] = {new_circle(2), new_rect(3, 4), NULL};
  s[2] = keep(s[0]);
  float total = 0;
  for (int k = 0; k < 3; k++) {
    total += s[k]->v->area(s[k]);
    printf("%s ", s[k]->v->name());
  }
  printf("%.1f\n", total);
  for (int k = 0; k < 3; k++)
    drop(s[k]);
  printf("%d\n", destroyed);
  struct sb b = {0};
  struct range r = {10, 0, -3};
  char t[8];
  for (int v; range_next(&r, &v);) {
    sprintf(t, "%d,", v);
    sb_put(&b, t);
  }
  printf("%s %lu\n", b.p, (unsigned long)b.n);
  free(b.p);
  st state = ST_IDLE;
  static const enum ev events[] = {EV_DOWN, EV_NONE, EV_NONE, EV_UP, EV_DOWN, EV_UP};
  for (size_t k = 0; k < sizeof events / sizeof *events; k++) {
    state = (st)next_state[state][events[k]];
    printf("%d", state);
  }
  puts("");
  float rot[2][2] = {{0, -1}, {1, 0}}, v[2] = {1, 2};
  for (int k = 0; k < 3; k++)
    matrix_apply(rot, v);
  printf("%.1f %.1f\n", v[0], v[1]);
  bool flags[4] = {true, [2] = true};
  int n = 0;
  for (int k = 0; k < 4; k++)
    n = n << 1 | flags[k];
  printf("%d\n", n);
  const struct {
    int x;
    struct {
      int y[2];
    } in;
  } lit = {.in.y = {[1] = 8}, .x = 2};
  printf("%d %d %d\n", lit.x, lit.in.y[0], lit.in.y[1]);
  char grid[3][4] = {"abc", {'d', 'e'}, ""};
  printf("%s %s %d\n", grid[0], grid[1], grid[2][3]);
  return 0;
}
