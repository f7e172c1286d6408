// host
/* Field oriented control of a motor in fixed point: transforms, sine table, regulators, modulation. */
#include "work.h"

typedef int16_t q15;
typedef struct { q15 a, b, c; } Phases;
typedef struct { q15 alpha, beta; } Still;
typedef struct { q15 d, q; } Turning;
typedef struct { q15 sin, cos; } Angle;

static q15 sine_table[65]; /* a quarter of the circle */

static q15 sat(int32_t x) { return (q15)(x > 32767 ? 32767 : x < -32767 ? -32767 : x); }
static q15 mul(q15 a, q15 b) { return (q15)(((int32_t)a * b + 0x4000) >> 15); }

static void make_sines(void) {
  /* Odd polynomial of a quarter turn x in Q15: x (1.5708 - x^2 (0.64596 - 0.0796 x^2)). */
  for (int k = 0; k <= 64; k++) {
    int32_t x = (int32_t)k * 512, x2 = (x * x) >> 15;
    int32_t inner = 21167 - ((x2 * 2608) >> 15);
    int32_t y = (x * ((51472 - ((x2 * inner) >> 15)) >> 1)) >> 14;
    sine_table[k] = sat(y);
  }
}

static q15 sine(uint16_t angle) {
  uint16_t quarter = (uint16_t)(angle >> 14), rest = angle & 0x3FFF;
  if (quarter & 1) rest = (uint16_t)(0x4000 - rest);
  unsigned at = rest >> 8, part = rest & 0xFF;
  q15 low = sine_table[at], high = at < 64 ? sine_table[at + 1] : low;
  q15 y = (q15)(low + (((int32_t)(high - low) * (int32_t)part) >> 8));
  return quarter & 2 ? (q15)-y : y;
}

static Angle angle_of(uint16_t a) {
  Angle r = {sine(a), sine((uint16_t)(a + 0x4000))};
  return r;
}

static Still to_still(Phases p) {
  Still s;
  s.alpha = p.a;
  s.beta = sat(((int32_t)p.a + 2 * (int32_t)p.b) * 18919 >> 15); /* over the root of 3 */
  return s;
}
static Turning to_turning(Still s, Angle t) {
  Turning r = {sat((int32_t)mul(s.alpha, t.cos) + mul(s.beta, t.sin)),
               sat((int32_t)mul(s.beta, t.cos) - mul(s.alpha, t.sin))};
  return r;
}
static Still from_turning(Turning r, Angle t) {
  Still s = {sat((int32_t)mul(r.d, t.cos) - mul(r.q, t.sin)), sat((int32_t)mul(r.d, t.sin) + mul(r.q, t.cos))};
  return s;
}

struct pi {
  q15 kp, ki;
  int32_t integral; /* Q30 */
  q15 limit;
};

static q15 pi_step(struct pi* r, q15 wanted, q15 is) {
  int32_t error = (int32_t)wanted - is;
  int32_t out = ((error * r->kp) >> 12) + (r->integral >> 15);
  q15 cut = (q15)(out > r->limit ? r->limit : out < -(int32_t)r->limit ? -(int32_t)r->limit : out);
  if (out == cut) r->integral += error * r->ki;
  return cut;
}

/* Duty cycles of three bridges with the common part centred. */
static Phases modulate(Still v) {
  int32_t b = mul(v.beta, 28378), a = v.alpha;
  int32_t u = a, w = -a / 2 + b, x = -a / 2 - b;
  int32_t most = u > w ? (u > x ? u : x) : (w > x ? w : x);
  int32_t least = u < w ? (u < x ? u : x) : (w < x ? w : x);
  int32_t centre = (most + least) / 2;
  Phases duty = {sat(u - centre), sat(w - centre), sat(x - centre)};
  return duty;
}

struct motor {
  int32_t id, iq; /* currents, Q15 with 8 more bits */
  int32_t speed;  /* per step, Q8 of the angle */
  uint32_t angle; /* Q8 of the angle */
};

static Phases motor_currents(const struct motor* m) {
  Turning i = {sat(m->id >> 8), sat(m->iq >> 8)};
  Still s = from_turning(i, angle_of((uint16_t)(m->angle >> 8)));
  Phases p;
  p.a = s.alpha;
  p.b = sat(-(int32_t)s.alpha / 2 + mul(s.beta, 28378));
  p.c = sat(-(int32_t)p.a - p.b);
  return p;
}

static void motor_step(struct motor* m, Phases duty, int32_t load) {
  Still v;
  v.alpha = sat(((int32_t)duty.a * 2 - duty.b - duty.c) / 3);
  v.beta = sat(((int32_t)duty.b - duty.c) * 18919 >> 15);
  Turning u = to_turning(v, angle_of((uint16_t)(m->angle >> 8)));
  m->id += (int32_t)u.d * 20 - m->id / 16;
  m->iq += (int32_t)u.q * 20 - m->iq / 16 - m->speed / 8;
  m->speed += (m->iq >> 10) - m->speed / 256 - load;
  m->angle = (m->angle + (uint32_t)m->speed) & 0xFFFFFF;
}

int main(void) {
  struct motor m = {0, 0, 0, 0};
  struct pi speed = {6000, 60, 0, 12000}, d = {3000, 200, 0, 30000}, q = {3000, 200, 0, 30000};
  uint32_t sum = 0;
  q15 wanted_q = 0;
  make_sines();
  expect("sine of a sixth", (uint32_t)((sine(0x1555) + 64) / 128), 16384 / 128);
  int32_t error_sum = 0;
  for (int step = 0; step < 4000; step++) {
    q15 wanted_speed = step < 2000 ? 3000 : -2000;
    Angle t = angle_of((uint16_t)(m.angle >> 8));
    Turning i = to_turning(to_still(motor_currents(&m)), t);
    if (step % 4 == 0) wanted_q = pi_step(&speed, wanted_speed, sat(m.speed >> 4));
    Turning v = {pi_step(&d, 0, i.d), pi_step(&q, wanted_q, i.q)};
    motor_step(&m, modulate(from_turning(v, t)), step > 1000 && step < 1500 ? 6 : 0);
    if (step % 2000 > 1800) {
      int32_t error = wanted_speed - (m.speed >> 4);
      error_sum += error < 0 ? -error : error;
    }
    sum = mix(sum, (uint32_t)m.speed ^ (uint32_t)m.iq);
  }
  printf("mean error %ld, speed %ld\n", (long)(error_sum / 398), (long)(m.speed >> 4));
  expect("run", sum, 0x982DD81E);
  expect("follows", error_sum / 398 < 300, 1);
  return finish();
}
