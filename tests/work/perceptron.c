// host
/* A small network learns to tell drawn digits apart: floats, layers of structures, back propagation. */
#include "work.h"

#define PIXELS 35
#define HIDDEN 12
#define CLASSES 10

struct layer {
  int inputs, outputs;
  float *weights, *bias, *value, *delta;
  float (*activate)(float);
};

static float pool[1200];
static int pool_used;

static float* take(int n) {
  float* p = &pool[pool_used];
  pool_used += n;
  return p;
}

/* Smooth, bounded, and made of plain arithmetic. */
static float squash(float x) { return x / (1 + (x < 0 ? -x : x)); }
static float plain(float x) { return x; }
static float slope(float y) {
  float rest = 1 - (y < 0 ? -y : y);
  return rest * rest;
}

static void make_layer(struct layer* l, int inputs, int outputs, float (*activate)(float)) {
  l->inputs = inputs;
  l->outputs = outputs;
  l->weights = take(inputs * outputs);
  l->bias = take(outputs);
  l->value = take(outputs);
  l->delta = take(outputs);
  l->activate = activate;
  for (int k = 0; k < inputs * outputs; k++) l->weights[k] = ((float)(int)(next_random() % 201) - 100) / 400;
}

static const float* run(struct layer* l, const float* in) {
  for (int o = 0; o < l->outputs; o++) {
    const float* w = l->weights + o * l->inputs;
    float sum = l->bias[o];
    for (int i = 0; i < l->inputs; i++) sum += w[i] * in[i];
    l->value[o] = l->activate(sum);
  }
  return l->value;
}

static void learn(struct layer* l, const float* in, float rate) {
  for (int o = 0; o < l->outputs; o++) {
    float* w = l->weights + o * l->inputs;
    float step = rate * l->delta[o];
    for (int i = 0; i < l->inputs; i++) w[i] += step * in[i];
    l->bias[o] += step;
  }
}

static void pass_back(const struct layer* l, struct layer* below) {
  for (int i = 0; i < below->outputs; i++) {
    float sum = 0;
    for (int o = 0; o < l->outputs; o++) sum += l->weights[o * l->inputs + i] * l->delta[o];
    below->delta[i] = sum * slope(below->value[i]);
  }
}

static const char* const glyphs[CLASSES] = {
  ".###.#...##..###.#.###..##...#.###.", "..#...##....#....#....#....#...###.",
  ".###.#...#....#...#...#...#...#####", ".###.#...#....#..##.....##...#.###.",
  "...#...##..#.#.#..#.#####...#....#.", "#####.#....####.....#....##...#.###",
  "..##..#...#....####.#...##...#.###.", "#####....#...#...#...#....#....#...",
  ".###.#...##...#.###.#...##...#.###.", ".###.#...##...#.####....#...#..##.."};

static void draw(int digit, int noise, float* pixels) {
  for (int k = 0; k < PIXELS; k++) pixels[k] = glyphs[digit][k] == '#' ? 1.0f : -1.0f;
  for (int k = 0; k < noise; k++) {
    int at = (int)(next_random() % PIXELS);
    pixels[at] = -pixels[at];
  }
}

static int best(const float* v) {
  int at = 0;
  for (int k = 1; k < CLASSES; k++)
    if (v[k] > v[at]) at = k;
  return at;
}

int main(void) {
  struct layer hidden, out;
  float pixels[PIXELS];
  uint32_t sum = 0;
  make_layer(&hidden, PIXELS, HIDDEN, squash);
  make_layer(&out, HIDDEN, CLASSES, plain);
  for (int epoch = 0; epoch < 40; epoch++) {
    float error = 0;
    for (int digit = 0; digit < CLASSES; digit++) {
      draw(digit, epoch % 3, pixels);
      const float* y = run(&out, run(&hidden, pixels));
      for (int k = 0; k < CLASSES; k++) {
        float wanted = k == digit ? 1.0f : 0.0f;
        out.delta[k] = wanted - y[k];
        error += out.delta[k] * out.delta[k];
      }
      pass_back(&out, &hidden);
      learn(&out, hidden.value, 0.05f);
      learn(&hidden, pixels, 0.05f);
    }
    sum = mix(sum, (uint32_t)(int32_t)(error * 10000));
    if (epoch % 20 == 19) printf("epoch %d error %.4f\n", epoch, error);
  }
  int right = 0;
  for (int round = 0; round < 50; round++) {
    draw(round % 10, 2, pixels);
    right += best(run(&out, run(&hidden, pixels))) == round % 10;
  }
  printf("%d of 50\n", right);
  expect("errors", sum, 0xBD71E0A8);
  expect("recognised", right >= 45, 1);
  return finish();
}
