// host
#include <stdio.h>

/* Everything in float: the results are the same wherever it is IEEE single. */
volatile float a = 1.0f, b = 3.0f, tiny = 1e-40f, big = 3e38f, zero = 0.0f;

static float poly(float x) { return ((2.0f * x - 3.0f) * x + 0.5f) * x - 1.0f; }
static float newton(float x) {
  float r = x;
  for (int i = 0; i < 20; i++) r = 0.5f * (r + x / r);
  return r;
}

int main(void) {
  printf("%.9f %.9f\n", a / b, (a / b) * b);
  printf("%.9f\n", poly(1.25f));
  printf("%.9f %.9f\n", newton(2.0f), newton(144.0f));
  printf("%d %d\n", big * 10.0f > big, -big * 10.0f < -big);
  printf("%d\n", tiny > 0.0f && tiny / 2.0f > 0.0f);
  float sum = 0.0f;
  for (int i = 1; i <= 100; i++) sum += 1.0f / (float)i;
  printf("%.6f\n", sum);
  float x = 16777216.0f;
  printf("%.1f %.1f\n", x + 1.0f, x + 2.0f);
  printf("%ld %ld\n", (long)(2.999f), (long)(-2.999f));
  printf("%d %d %d\n", zero == -zero, 1.0f / zero > big, 1.0f / -zero < -big);
  sum = 1.0f;
  sum += 2.0f; sum -= 0.5f; sum *= 4.0f; sum /= 5.0f;
  printf("%.6f ", sum++); printf("%.6f ", ++sum); printf("%.6f %.6f\n", sum, -sum);
  return 0;
}
