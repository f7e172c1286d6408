// host
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

/* Library functions, to the digits on which every good library agrees. */
static void show(const char* name, float x) { printf("%s %ld\n", name, (long)floorf(x * 1000.0f + 0.5f)); }

int main(void) {
  show("sqrt", sqrtf(2.0f));
  show("sin", sinf(0.5f));
  show("cos", cosf(0.5f));
  show("tan", tanf(0.5f));
  show("atan", atanf(1.0f));
  show("atan2", atan2f(-1.0f, -1.0f));
  show("exp", expf(1.5f));
  show("log", logf(10.0f));
  show("log10", log10f(500.0f));
  show("pow", powf(1.5f, 3.5f));
  show("fmod", fmodf(-7.5f, 2.0f));
  show("fabs", fabsf(-3.25f));
  show("floor", floorf(-3.25f));
  show("ceil", ceilf(-3.25f));
  printf("%d %ld\n", abs(-5), labs(-70000L));
  return 0;
}
