#include <float.h>
#include <stdio.h>

/* double is single here; long double has 64 bits. */
volatile long double third = 1.0L / 3.0L;
volatile double d = 1.0 / 3.0;

static int failures;
#define CHECK(e) ((e) ? (void)0 : (void)(failures++, printf("line %d: %s\n", __LINE__, #e)))

static long double power(long double x, int n) {
  long double r = 1;
  while (n-- > 0) r *= x;
  return r;
}

int main(void) {
  CHECK(sizeof(float) == 2 && sizeof(double) == 2 && sizeof(long double) == 4);
  CHECK(FLT_MANT_DIG == 24 && DBL_MANT_DIG == 24 && LDBL_MANT_DIG == 53);
  CHECK(d == (float)(1.0f / 3.0f));
  CHECK(third != d);
  CHECK(power(2, 60) + 1 == power(2, 60));
  CHECK(power(2, 52) + 1 != power(2, 52));
  CHECK((long long)power(10, 15) == 1000000000000000LL);
  CHECK(power(10, 200) > 1e38f && power(10, 400) > power(10, 300));
  CHECK((float)0.1L == 0.1f && 0.1L != 0.1f);
  CHECK(16777217L + 0.0 == 16777216.0);
  CHECK(16777217L + 0.0L == 16777217.0L);
  long double sum = 0;
  for (int i = 0; i < 10; i++) sum += 0.1L;
  CHECK(sum != 1.0L && sum - 1.0L < LDBL_EPSILON && 1.0L - sum < LDBL_EPSILON);
  CHECK((d += 1) > 1 && sizeof(d += 1.0L) == 2);
  printf("failures %d\n", failures);
  return failures;
}
