/* A tokeniser as a state machine over characters: switches, strings and a table of counts. */
#include <ctype.h>
#include <stdio.h>

enum kind { SPACE, WORD, NUMBER, OTHER, KINDS };

static enum kind kind_of(int c) {
  if (isspace(c)) return SPACE;
  if (isalpha(c) || c == '_') return WORD;
  if (isdigit(c)) return NUMBER;
  return OTHER;
}

int main(void) {
  const char *text = "if (x1 >= 42) y = z_2 + 7;";
  int count[KINDS] = {0};
  enum kind state = SPACE;
  const char *p;
  for (p = text; *p; p++) {
    enum kind now = kind_of(*p);
    switch (state) {
    case WORD:
      if (now == WORD || now == NUMBER) continue; /* still the same word */
      break;
    case NUMBER:
      if (now == NUMBER) continue;
      break;
    default:
      break;
    }
    if (now != state || now == OTHER) count[now]++;
    state = now;
  }
  printf("words %d, numbers %d, others %d\n", count[WORD], count[NUMBER], count[OTHER]);
  return !(count[WORD] == 4 && count[NUMBER] == 2);
}
