#include <stdio.h>
#include <string.h>

int main(void) {
  char line[8];
  int n, c, k;
  if (scanf("%d %d", &n, &k) != 2) return 1;
  printf("%d %d\n", n, k);
  while ((c = getchar()) == ' ') {
  }
  ungetc(c, stdin);
  while (fgets(line, 8, stdin)) printf("[%d%s]", (int)strlen(line), line);
  printf("%d %d %d\n", feof(stdin), getchar(), scanf("%d", &n));
  return 0;
}
