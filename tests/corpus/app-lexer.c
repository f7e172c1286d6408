// host
#include <ctype.h>
#include <stdio.h>
#include <string.h>

enum kind { END, WORD, KEYWORD, NUMBER, STRING, PUNCT, BAD };
struct token { enum kind kind; int length, line; const char* text; long value; };
static const char* const keywords[] = {"if", "else", "while", "return"};

static struct token next(const char** at, int* line) {
  const char* s = *at;
  for (;; s++) {
    if (*s == '\n') ++*line;
    else if (*s == '/' && s[1] == '/') { while (*s && *s != '\n') s++; s--; }
    else if (*s == '/' && s[1] == '*') { s += 2; while (*s && !(*s == '*' && s[1] == '/')) { if (*s == '\n') ++*line; s++; } if (*s) s++; else s--; }
    else if (!isspace(*s)) break;
  }
  struct token t = {END, 0, *line, s};
  if (!*s) { *at = s; return t; }
  if (isalpha(*s) || *s == '_') {
    while (isalnum(*s) || *s == '_') s++;
    t.kind = WORD;
    for (int i = 0; i < 4; i++) if ((int)strlen(keywords[i]) == s - t.text && !strncmp(keywords[i], t.text, s - t.text)) { t.kind = KEYWORD; t.value = i; }
  } else if (isdigit(*s)) {
    t.kind = NUMBER;
    if (*s == '0' && (s[1] | 32) == 'x') for (s += 2; isxdigit(*s); s++) t.value = t.value * 16 + (isdigit(*s) ? *s - '0' : tolower(*s) - 'a' + 10);
    else for (; isdigit(*s); s++) t.value = t.value * 10 + *s - '0';
  } else if (*s == '"') {
    t.kind = STRING;
    for (s++; *s && *s != '"'; s++, t.value++) if (*s == '\\' && s[1]) s++;
    if (*s) s++; else t.kind = BAD;
  } else {
    t.kind = PUNCT;
    t.value = *s++;
    if (strchr("=<>!&|", (int)t.value) && (*s == '=' || *s == t.text[0])) t.value = t.value * 256 + *s++;
  }
  t.length = (int)(s - t.text);
  *at = s;
  return t;
}

int main(void) {
  const char* source = "if (x1 >= 0x1F) { // note\n  y = \"a\\\"b\"; /* two\nlines */ z == 70000\n} else return_ << 3 && \"open";
  const char* at = source;
  int line = 1, counts[7] = {0};
  for (;;) {
    struct token t = next(&at, &line);
    counts[t.kind]++;
    printf("%d:%d:%d:%ld ", t.line, t.kind, t.length, t.value);
    if (t.kind == END) break;
  }
  for (int i = 0; i < 7; i++) printf("%d%c", counts[i], i < 6 ? ',' : '\n');
  return 0;
}
