// host
#include <setjmp.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
/* exceptions by setjmp with nested handlers; logging with va_list pass-through; retry loops */
struct handler {
  jmp_buf env;
  struct handler* outer;
  int code;
};
static struct handler* top;
#define TRY(h)                                                                                               \
  h.outer = top;                                                                                             \
  top = &h;                                                                                                  \
  if (!(h.code = setjmp(h.env)))
#define CATCH(h) else
#define DONE(h) top = h.outer
static void throw_error(int code) {
  struct handler* h = top;
  if (!h) exit(9);
  top = h->outer;
  longjmp(h->env, code);
}
static char logbuf[300];
static void vlog_to(const char* level, const char* fmt, va_list ap) {
  size_t n = strlen(logbuf);
  n += (size_t)snprintf(logbuf + n, sizeof logbuf - n, "[%s] ", level);
  vsnprintf(logbuf + n, sizeof logbuf - n, fmt, ap);
  strcat(logbuf, ";");
}
static void info(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  vlog_to("info", fmt, ap);
  va_end(ap);
}
static int risky(int n) {
  if (n % 3 == 0) throw_error(n + 1);
  return n * 2;
}
static int guarded(int n) {
  volatile int r = -1;
  struct handler h;
  TRY(h) {
    r = risky(n);
    DONE(h);
  }
  CATCH(h) { r = -h.code; }
  return r;
}
static int nested(int n) {
  volatile int stage = 0;
  struct handler outer;
  TRY(outer) {
    struct handler inner;
    stage = 1;
    TRY(inner) {
      stage = 2;
      risky(n);
      stage = 3;
      DONE(inner);
    }
    CATCH(inner) {
      stage += 10;
      if (n == 3) throw_error(42);
    }
    DONE(outer);
  }
  CATCH(outer) { stage += 100 + outer.code; }
  return stage;
}
static int sum_ints(int first, ...) {
  va_list ap, ap2;
  va_start(ap, first);
  va_copy(ap2, ap);
  int n = 0, s = first;
  for (int v = first; v; v = va_arg(ap, int))
    n++;
  for (int k = 1; k < n; k++)
    s += va_arg(ap2, int);
  va_end(ap2);
  va_end(ap);
  return s * 100 + n;
}
struct pair {
  int a;
  long b;
};
static long pairs(int n, ...) {
  va_list ap;
  va_start(ap, n);
  long s = 0;
  while (n-- > 0) {
    struct pair p = va_arg(ap, struct pair);
    s += p.a * p.b;
  }
  va_end(ap);
  return s;
}
int main(void) {
  for (int n = 1; n <= 6; n++)
    printf("%d ", guarded(n));
  puts("");
  for (int n = 1; n <= 6; n++)
    printf("%d ", nested(n));
  puts("");
  info("%d items", 3);
  info("%s=%ld", "x", 123456L);
  puts(logbuf);
  printf("%d %d\n", sum_ints(1, 2, 3, 0), sum_ints(5, 0));
  struct pair a = {2, 100000}, b = {3, -1};
  printf("%ld\n", pairs(2, a, b));
  char* t = calloc(1, 20);
  t = realloc(t, 40);
  sprintf(t, "%03d|%x|%-5s|%+.2f", 7, 0xbeef, "ab", 1.005f);
  puts(t);
  free(t);
  unsigned seed = 1;
  for (int k = 0; k < 5; k++) {
    seed = (seed * 75u + 74u) % 65537u % 32768u;
  }
  printf("%u\n", seed < 32768u);
  int v, w;
  char name[10], op;
  if (sscanf("move 12,-5 to q7", "%9s %d,%d to %c%*d", name, &v, &w, &op) == 4)
    printf("%s %d %d %c\n", name, v, w, op);
  char csv[] = "1,22,,333";
  for (char *p = csv, *q; p; p = q) {
    q = strchr(p, ',');
    if (q) *q++ = 0;
    printf("<%s>", p);
  }
  puts("");
  return guarded(2) == 4 ? 0 : 1;
}
