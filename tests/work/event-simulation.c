// host
/* Machines, queues and carriers simulated by events: callbacks with contexts, lists, statistics. */
#include "work.h"
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

typedef struct Event Event;
typedef struct World World;
struct Event {
  int32_t time;
  uint32_t serial;
  void (*happen)(World*, void*);
  void* context;
};

typedef struct Job {
  struct Job* next;
  int32_t created, entered;
  int kind, stage;
} Job;

typedef struct {
  const char* name;
  Job *first, *last;
  Job* working;
  int waiting, longest;
  int32_t busy, done, waited;
  int16_t speed[3];
} Machine;

#define MACHINES 5
#define EVENTS 64

struct World {
  Event heap[EVENTS];
  int events;
  int32_t now;
  uint32_t serial;
  Machine machines[MACHINES];
  int created, finished;
  int32_t total_time;
  Job* spare;
  uint32_t trace;
};

static const signed char route[3][5] = {{0, 1, 4, -1}, {0, 2, 3, 4, -1}, {1, 3, 2, 4, -1}};

static int earlier(const Event* a, const Event* b) {
  return a->time != b->time ? a->time < b->time : a->serial < b->serial;
}

static void schedule(World* w, int32_t after, void (*happen)(World*, void*), void* context) {
  Event e = {w->now + after, w->serial++, happen, context};
  int at = w->events++;
  for (; at > 0 && earlier(&e, &w->heap[(at - 1) / 2]); at = (at - 1) / 2) w->heap[at] = w->heap[(at - 1) / 2];
  w->heap[at] = e;
}

static int next_event(World* w, Event* out) {
  if (!w->events) return 0;
  *out = w->heap[0];
  Event last = w->heap[--w->events];
  int at = 0;
  for (int child; (child = 2 * at + 1) < w->events; at = child) {
    if (child + 1 < w->events && earlier(&w->heap[child + 1], &w->heap[child])) child++;
    if (!earlier(&w->heap[child], &last)) break;
    w->heap[at] = w->heap[child];
  }
  w->heap[at] = last;
  return 1;
}

static Job* new_job(World* w) {
  Job* j = w->spare;
  if (j) w->spare = j->next;
  else j = malloc(sizeof *j);
  if (!j) abort();
  memset(j, 0, sizeof *j);
  j->created = w->now;
  return j;
}

static void finished_work(World* w, void* context);

static void try_start(World* w, Machine* m) {
  if (m->working || !m->first) return;
  Job* j = m->working = m->first;
  m->first = j->next;
  if (!m->first) m->last = NULL;
  m->waiting--;
  m->waited += w->now - j->entered;
  int32_t takes = m->speed[j->kind] + (int32_t)(next_random() % 7);
  m->busy += takes;
  schedule(w, takes, finished_work, m);
}

static void enter(World* w, Machine* m, Job* j) {
  j->next = NULL;
  j->entered = w->now;
  if (m->last) m->last->next = j;
  else m->first = j;
  m->last = j;
  if (++m->waiting > m->longest) m->longest = m->waiting;
  try_start(w, m);
}

static void arrive(World* w, void* context) {
  Job* j = context;
  enter(w, &w->machines[route[j->kind][j->stage]], j);
}

static void finished_work(World* w, void* context) {
  Machine* m = context;
  Job* j = m->working;
  m->working = NULL;
  m->done++;
  w->trace = mix(w->trace, (uint32_t)(w->now * 8 + j->kind));
  if (route[j->kind][++j->stage] >= 0) {
    schedule(w, 5, arrive, j); /* carried to the next machine */
  } else {
    w->finished++;
    w->total_time += w->now - j->created;
    j->next = w->spare;
    w->spare = j;
  }
  try_start(w, m);
}

static void order(World* w, void* context) {
  int* left = context;
  Job* j = new_job(w);
  j->kind = (int)(next_random() % 3);
  w->created++;
  arrive(w, j);
  if (--*left > 0) schedule(w, 18 + (int32_t)(next_random() % 20), order, left);
}

static void breakdown(World* w, void* context) {
  Machine* m = context;
  for (int k = 0; k < 3; k++) m->speed[k] = (int16_t)(m->speed[k] + 2);
  if (w->now < 8000) schedule(w, 2500, breakdown, m);
}

int main(void) {
  static const char* const names[MACHINES] = {"cut", "drill", "mill", "wash", "test"};
  static World w;
  int left[2] = {300, 200};
  Event e;
  int32_t events = 0;
  for (int k = 0; k < MACHINES; k++) {
    w.machines[k].name = names[k];
    for (int kind = 0; kind < 3; kind++) w.machines[k].speed[kind] = (int16_t)(6 + (k * 5 + kind * 3) % 11);
  }
  schedule(&w, 0, order, &left[0]);
  schedule(&w, 3000, order, &left[1]);
  schedule(&w, 2000, breakdown, &w.machines[4]);
  while (next_event(&w, &e)) {
    if (e.time < w.now) work_faults++;
    w.now = e.time;
    e.happen(&w, e.context);
    events++;
  }
  for (int k = 0; k < MACHINES; k++) {
    const Machine* m = &w.machines[k];
    printf("%-6s %4ld done, busy %2ld%%, longest queue %d, mean wait %ld\n", m->name, (long)m->done,
           (long)(m->busy * 100 / w.now), m->longest, (long)(m->waited / m->done));
  }
  expect("all finished", w.created == 500 && w.finished == w.created, 1);
  expect("events", (uint32_t)events, 0x00000E40);
  expect("time", (uint32_t)w.now, 0x00002887);
  expect("mean time", (uint32_t)(w.total_time / w.finished), 0x00000262);
  expect("trace", w.trace, 0x2515E842);
  int spare = 0;
  while (w.spare) {
    Job* j = w.spare;
    w.spare = j->next;
    free(j);
    spare++;
  }
  printf("%d jobs at once\n", spare);
  return finish();
}
