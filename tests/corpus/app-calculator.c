// host
#include <ctype.h>
#include <stdio.h>

/* Recursive descent over expressions with variables. */
struct parser { const char* at; int error; long vars[26]; };
static long expression(struct parser* p);

static char peek(struct parser* p) { while (*p->at == ' ') p->at++; return *p->at; }
static int accept(struct parser* p, char c) { if (peek(p) != c) return 0; p->at++; return 1; }
static long primary(struct parser* p) {
  char c = peek(p);
  if (isdigit(c)) { long n = 0; while (isdigit(*p->at)) n = n * 10 + (*p->at++ - '0'); return n; }
  if (c >= 'a' && c <= 'z') {
    long* v = &p->vars[c - 'a'];
    p->at++;
    if (peek(p) == '=' && p->at[1] != '=') { p->at++; return *v = expression(p); }
    return *v;
  }
  if (accept(p, '-')) return -primary(p);
  if (accept(p, '!')) return !primary(p);
  if (accept(p, '(')) { long n = expression(p); if (!accept(p, ')')) p->error = 1; return n; }
  p->error = 2;
  return 0;
}
static int precedence(char c) { switch (c) { case '*': case '/': case '%': return 5; case '+': case '-': return 4; case '<': case '>': return 3; case '&': return 2; case '|': return 1; } return 0; }
static long binary(struct parser* p, int least) {
  long left = primary(p);
  for (;;) {
    char op = peek(p);
    int level = precedence(op);
    if (level < least || !level || p->error) return left;
    p->at++;
    long right = binary(p, level + 1);
    switch (op) {
    case '*': left *= right; break;
    case '/': case '%': if (!right) { p->error = 3; return 0; } left = op == '/' ? left / right : left % right; break;
    case '+': left += right; break;
    case '-': left -= right; break;
    case '<': left = left < right; break;
    case '>': left = left > right; break;
    case '&': left &= right; break;
    case '|': left |= right; break;
    }
  }
}
static long expression(struct parser* p) { return binary(p, 1); }

int main(void) {
  static const char* const lines[] = {"1+2*3", "(1+2)*3", "x = 7", "x*x - y", "y = x = 100000 / 3", "y % 1000 + -x", "10/(5-5)", "2+", "(1", "1 < 2 & 3 > 2 | 8", "!(4-4)*9-1-1"};
  struct parser p = {0};
  for (unsigned i = 0; i < sizeof lines / sizeof *lines; i++) {
    p.at = lines[i];
    p.error = 0;
    long v = expression(&p);
    if (!p.error && peek(&p)) p.error = 4;
    printf("%s -> %ld (%d)\n", lines[i], v, p.error);
  }
  return 0;
}
