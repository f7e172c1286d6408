// host
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int length(const char* s) { const char* p = s; while (*p++); return (int)(p - s) - 1; }
static char* copy(char* to, const char* from) { char* start = to; while ((*to++ = *from++)) ; return start; }
static void reverse(char* s) { for (int i = 0, j = length(s) - 1; i < j; i++, j--) { char t = s[i]; s[i] = s[j]; s[j] = t; } }
static int palindrome(const char* s) { int n = length(s); for (int i = 0; i < n / 2; i++) if (s[i] != s[n - 1 - i]) return 0; return 1; }
static int number(const char* s) { int n = 0, sign = *s == '-' ? s++, -1 : 1; while (isdigit(*s)) n = n * 10 + *s++ - '0'; return sign * n; }
static int words(const char* s) { int n = 0, in = 0; for (; *s; s++) if (isspace(*s)) in = 0; else if (!in) in = 1, n++; return n; }
static const char* find(const char* text, const char* part) {
  for (; *text; text++) { const char *a = text, *b = part; while (*b && *a == *b) a++, b++; if (!*b) return text; }
  return 0;
}

int main(void) {
  char a[40], b[40] = "abc\tdef\n", *c;
  printf("%d %s|", length(b), copy(a, b));
  reverse(a);
  printf("%s\n", a + 1);
  printf("%d %d %d %d\n", palindrome("level"), palindrome("levels"), number("-1234x"), words("  the quick\tbrown fox "));
  printf("%s %d\n", find("one two three", "two"), find("abc", "abd") == 0);
  strcpy(a, "hello"); strcat(a, ", world"); strncpy(b, a, 5); b[5] = 0;
  printf("%s %s %d %s\n", a, b, (int)strlen(a), strchr(a, 'w'));
  printf("%d %d %d %d\n", strcmp("a", "b") < 0, strcmp("b", "a") > 0, strcmp(b, "hello"), strncmp(a, "help", 3));
  memset(a, '-', 3); memmove(a + 2, a, 5); printf("%s\n", a);
  memcpy(b, "xyz", 4); printf("%s %d\n", b, memcmp(b, "xyz", 4));
  for (c = b; *c; c++) *c = toupper(*c);
  printf("%s %c %c\n", b, "abcdef"[3], *("xyz" + 1));
  c = malloc(10 * sizeof *c);
  sprintf(c, "%d-%d", 12, 34); printf("%s ", c);
  c = realloc(c, 20 * sizeof *c);
  printf("%d ", snprintf(c + 5, 4, "%s", "abcdef")); puts(c);
  free(c);
  printf("%s %d %d\n", "con" "cat" "\x41" "\101", (int)sizeof "abc", (int)sizeof(char[7]));
  printf("%s\n", __func__);
  return 0;
}
