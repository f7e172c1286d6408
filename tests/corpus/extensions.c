// host
/* What users write beside the standard's core. */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <wchar.h>

#define MAX(a, b) ({ __typeof__(a) a_ = (a); __typeof__(b) b_ = (b); a_ > b_ ? a_ : b_; })
#define KIND(x) _Generic((x), int: "int", long: "long", unsigned: "unsigned", float: "float", char*: "text", default: "other")

struct point { int x, y; };

static int calls;
static int next(void) { return ++calls; }

static int first_digit(const char* s) {
  int found = ({ int at = -1; for (int k = 0; s[k]; k++) if (s[k] >= '0' && s[k] <= '9') { at = k; break; } at; });
  return found;
}

static int nested(int n) {
  return 1 + ({ int sum = 0; for (int k = 0; k < n; k++) sum += ({ int square = k * k; if (square & 1) square++; square; }); sum; }) * 2;
}

static int early(int n) {
  int r = ({ if (n < 0) return -1; n * 2; });
  return r + 1;
}

struct packet { int length; int data[]; };
static struct packet fixed = {3, {7, 8, 9}};
struct text { int n; char chars[]; };
static struct text hello = {5, "hello"};

struct __attribute__((packed)) tight { int16_t a; int32_t b; int16_t c; };
struct loose { int16_t a; int32_t b; int16_t c; };
struct aligned_member { int16_t a; int16_t b __attribute__((aligned(8))); };
static int16_t big_aligned __attribute__((aligned(16)));
static _Alignas(8) char buffer[3];

static wchar_t wide[] = L"wide \x3b1";
static const wchar_t* names[] = {L"one", L"three", L""};

static int sum_packet(const struct packet* p) {
  int s = 0;
  for (int k = 0; k < p->length; k++) s += p->data[k];
  return s;
}

static int ranges[10] = {[2 ... 5] = 7, [8] = 1, [0 ... 1] = 3};

static void forms(void) {
  int first = next() ?: 7, second = 0 ?: 9;
  const char* none = NULL;
  __auto_type longer = first + 100000L;
  char text[8];
  printf("%d %d %s %ld\n", first, second, none ?: "none", longer);
  for (int k = 0; k < 10; k++) printf("%d", ranges[k]);
  __builtin_strcpy(text, "hey");
  __builtin_memcpy(text + 3, "!", 2 * sizeof(char));
  printf(" %s %d %d\n", text, __builtin_abs(-4), __builtin_constant_p(3 * 4));
  if (first > 1000) __builtin_unreachable();
}

int main(void) {
  int a = 3, b = 9;
  forms();
  printf("%d %d %.1f\n", MAX(a, b), MAX(next(), 0), (double)MAX(2.5f, 1.5f));
  printf("calls %d\n", calls);
  printf("%d %d %d %d %d\n", first_digit("abc7d"), first_digit("none"), nested(5), early(-3), early(4));
  while (({ a--; a > 0; })) printf("a %d\n", a);
  for (int k = 0; ({ int limit = 2; if (b > 5) limit = 3; k < limit; }); k++) printf("k %d\n", k);
  if (a == 0 && ({ int t = b * 2; t > 10; })) puts("yes");
  ({ puts("plain"); });
  struct point p = ({ struct point q = {4, 5}; q.x += 10; q; });
  printf("%d %d %d\n", p.x, p.y, ({ struct point q = p; q; }).y);
  printf("%s %s %s %s %s %s\n", KIND(1), KIND(1L), KIND(1u), KIND(1.0f), KIND((char*)0), KIND(&a));
  printf("%d %d %s\n", sum_packet(&fixed), fixed.data[2], hello.chars);
  printf("%d %d %d %d\n", sizeof(struct tight) < sizeof(struct loose), (int)(offsetof(struct tight, b) / sizeof(int16_t)),
         (int)offsetof(struct aligned_member, b), (int)((uintptr_t)&big_aligned % 16 + (uintptr_t)buffer % 8));
  struct tight t = {1, 100000, 3}, *tp = &t;
  tp->b += tp->c;
  printf("%d %ld %d\n", t.a, (long)t.b, t.c);
  printf("%d %d %d %d %d\n", (int)wcslen(wide), (int)wide[5], wcscmp(names[0], L"one"), (int)names[1][4], L'x' == 'x');
  wchar_t local[8] = L"ab";
  wcscat(local, L"cd");
  printf("%d %d %d\n", (int)wcslen(local), (int)local[3], (int)(sizeof L"abc" / sizeof(wchar_t)));
  printf("%d %d\n", __builtin_choose_expr(1, 5, "x"), 1);
  return 0;
}
