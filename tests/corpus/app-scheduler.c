// host
#include <stdio.h>

/* Cooperative tasks as state machines, a ready queue by priority, timers and a mailbox. */
enum state { IDLE, READY, SLEEPING, WAITING, DONE };
struct task { const char* name; int (*run)(struct task*); enum state state; int priority, wake, pc, local; struct task* next; };
static struct task* ready;
static int now, box, box_full, switches;

static void enqueue(struct task* t) {
  struct task** p = &ready;
  while (*p && (*p)->priority >= t->priority) p = &(*p)->next;
  t->next = *p;
  *p = t;
  t->state = READY;
}
static int sleep_for(struct task* t, int ticks) { t->wake = now + ticks; return t->state = SLEEPING; }

static int producer(struct task* t) {
  switch (t->pc) {
  case 0:
    for (t->local = 0; t->local < 4; t->local++) {
      if (box_full) { t->pc = 1; return sleep_for(t, 2); case 1: t->local--; continue; }
      box = t->local * t->local;
      box_full = 1;
      printf("[%d %s sends %d] ", now, t->name, box);
      t->pc = 2;
      return sleep_for(t, 3);
    case 2:;
    }
  }
  return t->state = DONE;
}
static int consumer(struct task* t) {
  if (!box_full) return t->state = WAITING;
  box_full = 0;
  t->local += box;
  printf("[%d %s gets %d] ", now, t->name, box);
  return sleep_for(t, t->priority);
}
static int ticker(struct task* t) { return ++t->local == 6 ? (t->state = DONE) : sleep_for(t, 4); }

static struct task tasks[] = {{"P", producer, .priority = 3}, {"C", consumer, .priority = 5}, {"T", ticker, .priority = 1}};

int main(void) {
  const int n = sizeof tasks / sizeof tasks[0];
  for (int i = 0; i < n; i++) enqueue(&tasks[i]);
  for (now = 0; now < 40; now++) {
    for (struct task* t = tasks; t < tasks + n; t++)
      if ((t->state == SLEEPING && t->wake <= now) || (t->state == WAITING && box_full)) enqueue(t);
    while (ready) { struct task* t = ready; ready = t->next; t->state = IDLE; switches++; t->run(t); }
  }
  printf("\n%d %d %d:", switches, tasks[1].local, tasks[2].local);
  for (int i = 0; i < n; i++) printf(" %d", tasks[i].state);
  printf("\n");
  return 0;
}
