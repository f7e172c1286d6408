// host
/* A moving thing is tracked by a filter whose matrices are structures passed by value. */
#include "work.h"
#include <math.h>

typedef struct { float v[4]; } Vec4;
typedef struct { float m[4][4]; } Mat4;
typedef struct { float m[2][2]; } Mat2;

typedef struct {
  Vec4 state; /* place and speed in two directions */
  Mat4 covariance;
  float noise_process, noise_measured;
} Tracker;

static Mat4 scaled_identity(float d) {
  Mat4 r = {{{0}}};
  for (int i = 0; i < 4; i++) r.m[i][i] = d;
  return r;
}

static Mat4 product(Mat4 a, Mat4 b) {
  Mat4 r;
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) {
      r.m[i][j] = 0;
      for (int k = 0; k < 4; k++) r.m[i][j] += a.m[i][k] * b.m[k][j];
    }
  return r;
}

static Mat4 sum_of(Mat4 a, Mat4 b) {
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) a.m[i][j] += b.m[i][j];
  return a;
}

static Mat4 turned(Mat4 a) {
  Mat4 r;
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) r.m[i][j] = a.m[j][i];
  return r;
}

static Vec4 apply(Mat4 a, Vec4 x) {
  Vec4 r;
  for (int i = 0; i < 4; i++) {
    r.v[i] = 0;
    for (int k = 0; k < 4; k++) r.v[i] += a.m[i][k] * x.v[k];
  }
  return r;
}

static Mat4 motion(float dt) {
  Mat4 f = scaled_identity(1);
  f.m[0][2] = f.m[1][3] = dt;
  return f;
}

static Mat2 inverse(Mat2 a) {
  float d = a.m[0][0] * a.m[1][1] - a.m[0][1] * a.m[1][0];
  return (Mat2){{{a.m[1][1] / d, -a.m[0][1] / d}, {-a.m[1][0] / d, a.m[0][0] / d}}};
}

static Tracker start(float x, float y) {
  Tracker t = {.state = {{x, y, 0, 0}}, .noise_process = 0.02f, .noise_measured = 4};
  t.covariance = scaled_identity(10);
  return t;
}

static void predict(Tracker* t, float dt) {
  Mat4 f = motion(dt);
  t->state = apply(f, t->state);
  t->covariance = sum_of(product(product(f, t->covariance), turned(f)), scaled_identity(t->noise_process));
}

static void measure(Tracker* t, float x, float y) {
  Mat4* p = &t->covariance;
  Mat2 s = {{{p->m[0][0] + t->noise_measured, p->m[0][1]}, {p->m[1][0], p->m[1][1] + t->noise_measured}}};
  Mat2 back = inverse(s);
  float gain[4][2], off[2] = {x - t->state.v[0], y - t->state.v[1]};
  Mat4 keep = scaled_identity(1);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 2; j++) {
      gain[i][j] = p->m[i][0] * back.m[0][j] + p->m[i][1] * back.m[1][j];
      keep.m[i][j] -= gain[i][j];
    }
  for (int i = 0; i < 4; i++) t->state.v[i] += gain[i][0] * off[0] + gain[i][1] * off[1];
  *p = product(keep, *p);
}

static float noise(void) {
  float sum = 0;
  for (int k = 0; k < 4; k++) sum += (float)(int)(next_random() % 1001) / 250 - 2;
  return sum;
}

int main(void) {
  float x = 0, y = 50, vx = 1, vy = -0.5f;
  float first = noise();
  Tracker t = start(x + first, y - first);
  float raw = 0, tracked = 0;
  uint32_t sum = 0;
  for (int step = 0; step < 250; step++) {
    if (step == 120) vy = 1, vx = 0.25f;
    x += vx * 0.5f;
    y += vy * 0.5f;
    float mx = x + noise();
    float my = y + noise();
    predict(&t, 0.5f);
    if (step % 7 != 3) measure(&t, mx, my);
    float dx = t.state.v[0] - x, dy = t.state.v[1] - y;
    if (step > 20) {
      tracked += dx * dx + dy * dy;
      raw += (mx - x) * (mx - x) + (my - y) * (my - y);
    }
    sum = mix(sum, (uint32_t)(int32_t)(t.state.v[0] * 1000) ^ (uint32_t)(int32_t)(t.state.v[3] * 100000));
  }
  printf("raw %.1f tracked %.1f speed %.3f %.3f\n", raw, tracked, t.state.v[2], t.state.v[3]);
  expect("states", sum, 0x439B0F05);
  expect("better than measured", tracked < raw / 2, 1);
  expect("speed", fabs(t.state.v[3] - vy) < 0.4f, 1);
  return finish();
}
