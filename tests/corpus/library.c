// host
#include <ctype.h>
#include <errno.h>
#include <inttypes.h>
#include <math.h>
#include <setjmp.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
static jmp_buf env, inner;
static int depth;
static void deep(int n) {
  int pad[20];
  pad[n % 20] = n;
  if (n == 0) longjmp(env, 7);
  depth++;
  deep(n - 1);
  pad[0]++;
}
static int bad(const void* a, const void* b) {
  (void)a;
  (void)b;
  if (++depth > 3) longjmp(env, 9);
  return 0;
}
static int again(const void* a, const void* b) {
  if (!setjmp(inner)) longjmp(inner, 1);
  return *(const int*)a - *(const int*)b;
}
static int sums(int n, ...) {
  va_list a, b;
  va_start(a, n);
  va_copy(b, a);
  int s = 0;
  for (int k = 0; k < n; k++)
    s += va_arg(a, int);
  for (int k = 0; k < n; k++)
    s = s * 2 + va_arg(b, int);
  va_end(a);
  va_end(b);
  return s;
}
static void logs(const char* f, ...) {
  va_list a;
  char t[80];
  va_start(a, f);
  vsnprintf(t, 80, f, a);
  va_end(a);
  puts(t);
}
static void bye(void) { puts("bye"); }
static void bye2(void) { puts("bye first"); }
int main(void) {
  char t[60] = "a,b;;c", *p, *end;
  const char* s;
  for (p = strtok(t, ",;"); p; p = strtok(NULL, ",;"))
    printf("<%s>", p);
  puts("");
  s = "hello world";
  printf("%d %d %d %d %s %s\n", (int)(strrchr(s, 'o') - s), (int)(strstr(s, "o w") - s),
         (int)strspn(s, "ehl"), (int)strcspn(s, " "), strpbrk(s, "wxyz"), (char*)memchr(s, 'w', 11));
  strcpy(t, "abc");
  strncat(t, "defgh", 2);
  puts(t);
  printf("%ld %ld %ld %lu\n", strtol("  -0x1Fzz", &end, 0), strtol("077", 0, 0), strtol("zz", 0, 36),
         strtoul("4294967295", 0, 10));
  puts(end);
  printf("%d %lld %.3f %.4f\n", atoi("-123x"), atoll("123456789012345"), atof("2.5e2x"),
         strtod("0x1p-2", &end));
  errno = 0;
  long long big = strtoll("99999999999999999999", 0, 10);
  printf("%lld %d\n", big, errno == ERANGE);
  int i, j;
  unsigned u;
  long l;
  char w[20], c[3] = "";
  float f;
  int n = sscanf("12 -7 ff 123456 word [x] 1.5e1", "%d %i %x %ld %s [%1[a-z]] %f", &i, &j, &u, &l, w, c, &f);
  printf("%d: %d %d %u %ld %s %s %.2f\n", n, i, j, u, l, w, c, f);
  printf("%d %d ", sscanf("", "%d", &i), sscanf("x", "%d", &i));
  printf("%d %d %d\n", sscanf("", "%n", &i), sscanf("", "x"), sscanf("5", "%dx", &i));
  n = 0;
  printf("%d ", sscanf("10:20:30", "%d:%*d:%d%n", &i, &j, &n));
  printf("%d %d %d\n", i, j, n);
  volatile int v = 1;
  switch (setjmp(env)) {
  case 0:
    v = 5;
    deep(30);
    break;
  case 7:
    printf("back %d %d\n", v, depth);
    break;
  default:
    puts("?");
  }
  depth = 0;
  int arr[8] = {5, 3, 8, 1, 9, 2, 7, 0};
  if (setjmp(env) == 0) qsort(arr, 8, sizeof *arr, bad);
  else printf("out of the sort %d\n", depth);
  qsort(arr, 8, sizeof *arr, again);
  for (i = 0; i < 8; i++)
    printf("%d ", arr[i]);
  puts("");
  volatile int tries = 0;
  if (setjmp(env) < 5 && tries < 5) {
    tries++;
    longjmp(env, tries);
  }
  printf("tries %d\n", tries);
  printf("%d\n", sums(3, 1, 2, 3));
  logs("%d %s %.2f %ld %c", 5, "x", 2.5, 100000L, 'q');
  div_t d = div(17, 5);
  ldiv_t ld = ldiv(-170000L, 7);
  printf("%d %d %ld %ld\n", d.quot, d.rem, ld.quot, ld.rem);
  int e;
  float fr = (float)frexp(48.0, &e);
  printf("%.3f %d %.1f %.1f %ld %.1f\n", fr, e, ldexp(0.75, 3), round(2.5), lround(-3.7), trunc(-2.7));
  printf("%d %d %d\n", isnan(NAN) != 0, isinf(INFINITY) != 0, isfinite(1.0) != 0);
  p = strdup("copy");
  puts(p);
  free(p);
  printf("%" PRId32 " %" PRIu16 " %d %d\n", (int32_t)-70000, (uint16_t)9, toupper('x'), isprint('\n') != 0);
  fprintf(stdout, "%5d|%-5d|%05d|%+d|%x|%#o|%.3s|%8.3f|%e\n", 42, 42, 42, 42, 255u, 8u, "abcdef", 3.14159,
          12345.678);
  atexit(bye);
  atexit(bye2);
  return 0;
}
