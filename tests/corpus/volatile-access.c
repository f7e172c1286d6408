// host
#include <stdio.h>

static volatile int status, log_[16], at;
static volatile struct { int ready; int data; } device;
static void write(int v) { log_[at] = v; at = at + 1; }
static int wait(void) { int n = 0; status = 4; while (status) { status--; n++; } return n; }

int main(void) {
  volatile int local = 1;
  volatile int* p = &local;
  *p; local;
  *p += 2;
  for (int i = 0; i < 5; i++) write(i * local);
  device.data = 5;
  device.ready = 1;
  device.data += device.ready;
  printf("%d %d %d %d\n", wait(), log_[4], at, device.data);
  const volatile int fixed = 9;
  printf("%d %d\n", fixed, local = 6);
  return 0;
}
