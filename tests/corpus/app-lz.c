// host
#include <stdio.h>
#include <string.h>

static unsigned char packed[400];
static char unpacked[400];

static int compress(const char* in, int n, unsigned char* out) {
  int o = 0;
  for (int i = 0; i < n;) {
    int best = 0, where = 0;
    for (int j = i > 60 ? i - 60 : 0; j < i; j++) { int k = 0; while (i + k < n && k < 15 && in[j + k] == in[i + k]) k++; if (k > best) { best = k; where = i - j; } }
    if (best >= 3) { out[o++] = 128 | where; out[o++] = best; i += best; } else out[o++] = in[i++];
  }
  return o;
}
static int expand(const unsigned char* in, int n, char* out) {
  int o = 0;
  for (int i = 0; i < n;) {
    unsigned char c = in[i++];
    if (c & 128) { int back = c & 127, len = in[i++]; while (len-- > 0) { out[o] = out[o - back]; o++; } } else out[o++] = c;
  }
  out[o] = 0;
  return o;
}
static int runs(const char* s, char* to) { int n = 0; while (*s) { int k = 1; while (s[k] == *s && k < 9) k++; to[n++] = '0' + k; to[n++] = *s; s += k; } to[n] = 0; return n; }
static void base64(const char* s, int n) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int i = 0; i < n; i += 3) {
    unsigned long v = (unsigned long)s[i] << 16 | (unsigned long)(i + 1 < n ? s[i + 1] : 0) << 8 | (i + 2 < n ? s[i + 2] : 0);
    for (int k = 0; k < 4; k++) putchar(i + k > n ? '=' : digits[v >> (18 - 6 * k) & 63]);
  }
  putchar('\n');
}

int main(void) {
  static const char text[] = "she sells sea shells by the sea shore; the shells she sells are sea shells for sure; so if she sells sea shells";
  int n = (int)strlen(text), m = compress(text, n, packed), k = expand(packed, m, unpacked);
  printf("%d %d %d %d\n", n, m, k, strcmp(text, unpacked));
  k = runs("aaabccccccccccccd", unpacked); printf("%d %s\n", k, unpacked);
  base64("Man", 3); base64("Many hands", 10); base64("light work.", 11);
  return 0;
}
