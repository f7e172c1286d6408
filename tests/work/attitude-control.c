// host
/* A control law in floats: cascaded regulators with limits, a mode machine, a simulated plant. */
#include "work.h"
#include <math.h>
#include <stdbool.h>

typedef enum { IDLE, ARMING, CLIMB, HOLD, DESCEND, FAILED } Mode;

typedef struct {
  float kp, ki, kd, limit;
  float integral, last, filtered;
} Regulator;

typedef struct { float height, speed, tilt, turn, thrust; } Plant;

typedef struct {
  Mode mode;
  int ticks_in_mode, faults;
  Regulator height, speed, tilt;
  float target;
} Controller;

typedef Mode (*Handler)(Controller*, const Plant*, float* thrust, float* torque);

static float limited(float x, float limit) { return x > limit ? limit : x < -limit ? -limit : x; }

static float regulate(Regulator* r, float error, float dt) {
  float derivative = (error - r->last) / dt;
  r->filtered += (derivative - r->filtered) * 0.2f;
  r->last = error;
  float out = r->kp * error + r->ki * r->integral + r->kd * r->filtered;
  float cut = limited(out, r->limit);
  /* The integral waits while the output is at its limit and the error would drive it on. */
  if (cut == out || (out > 0) != (error > 0)) r->integral += error * dt;
  return cut;
}

static void reset(Regulator* r) { r->integral = r->last = r->filtered = 0; }

static const float DT = 0.02f;

static void stabilise(Controller* c, const Plant* p, float* thrust, float* torque) {
  float wanted_speed = regulate(&c->height, c->target - p->height, DT);
  *thrust = 9.81f + regulate(&c->speed, wanted_speed - p->speed, DT);
  *torque = regulate(&c->tilt, -p->tilt, DT) - 0.8f * p->turn;
}

static Mode idle(Controller* c, const Plant* p, float* thrust, float* torque) {
  (void)p;
  *thrust = *torque = 0;
  return c->ticks_in_mode > 10 ? ARMING : IDLE;
}
static Mode arming(Controller* c, const Plant* p, float* thrust, float* torque) {
  reset(&c->height);
  reset(&c->speed);
  reset(&c->tilt);
  *thrust = 4;
  *torque = 0;
  return fabs(p->tilt) > 0.5f ? FAILED : c->ticks_in_mode > 25 ? CLIMB : ARMING;
}
static Mode climb(Controller* c, const Plant* p, float* thrust, float* torque) {
  c->target = 20;
  stabilise(c, p, thrust, torque);
  return fabs(p->height - c->target) < 0.3f && fabs(p->speed) < 0.2f ? HOLD : CLIMB;
}
static Mode hold(Controller* c, const Plant* p, float* thrust, float* torque) {
  stabilise(c, p, thrust, torque);
  return c->ticks_in_mode > 400 ? DESCEND : HOLD;
}
static Mode descend(Controller* c, const Plant* p, float* thrust, float* torque) {
  if (c->target > 0) c->target -= 1.5f * DT;
  stabilise(c, p, thrust, torque);
  return p->height < 0.15f ? IDLE : DESCEND;
}
static Mode failed(Controller* c, const Plant* p, float* thrust, float* torque) {
  (void)p;
  c->faults++;
  *thrust = *torque = 0;
  return FAILED;
}

static const Handler handlers[] = {[FAILED] = failed, [IDLE] = idle,       [ARMING] = arming,
                                   [CLIMB] = climb,   [DESCEND] = descend, [HOLD] = hold};

static void control(Controller* c, const Plant* p, float* thrust, float* torque) {
  Mode next = handlers[c->mode](c, p, thrust, torque);
  if (p->tilt > 1.2f || p->tilt < -1.2f) next = FAILED;
  if (next != c->mode) {
    c->mode = next;
    c->ticks_in_mode = 0;
  } else {
    c->ticks_in_mode++;
  }
}

static void fly(Plant* p, float thrust, float torque, float wind) {
  p->thrust += (thrust - p->thrust) * 0.3f; /* the motor lags */
  float lift = p->thrust * (1 - 0.5f * p->tilt * p->tilt);
  p->speed += (lift - 9.81f - 0.1f * p->speed) * DT;
  p->height += p->speed * DT;
  if (p->height < 0) p->height = p->speed = 0;
  p->turn += (torque * 6 + wind - 0.05f * p->turn) * DT;
  p->tilt += p->turn * DT;
}

int main(void) {
  static const char* const names[] = {"idle", "arming", "climb", "hold", "descend", "failed"};
  Controller c = {.mode = IDLE,
                  .height = {1.1f, 0.05f, 0.1f, 4, 0, 0, 0},
                  .speed = {3, 0.8f, 0.05f, 8, 0, 0, 0},
                  .tilt = {2.5f, 0.3f, 0.4f, 3, 0, 0, 0}};
  Plant p = {0, 0, 0.1f, 0, 0};
  uint32_t sum = 0;
  Mode seen = IDLE;
  int visits = 0, held = 0;
  float worst = 0;
  for (int tick = 0; tick < 3000; tick++) {
    float thrust, torque, wind = 0;
    if (tick % 200 > 150) wind = (float)(int)(next_random() % 100) / 40 - 1.25f;
    control(&c, &p, &thrust, &torque);
    fly(&p, thrust, torque, wind);
    if (c.mode != seen) {
      printf("%5d %s at %.2f\n", tick, names[c.mode], p.height);
      seen = c.mode;
      visits++;
    }
    if (c.mode == HOLD) {
      float off = (float)fabs(p.height - 20);
      held++;
      if (off > worst) worst = off;
    }
    sum = mix(sum, (uint32_t)(int32_t)(p.height * 10000) + (uint32_t)(int32_t)(p.tilt * 100000));
  }
  expect("flight", sum, 0xD17AA937);
  expect("visits", (uint32_t)visits, 0x0000000C);
  expect("held", held > 300 && worst < 1.5f, 1);
  expect("faults", (uint32_t)c.faults, 0);
  return finish();
}
