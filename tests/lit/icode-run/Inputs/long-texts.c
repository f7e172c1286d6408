// Long texts taken to pieces: what a piece costs is in step with the piece.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#define N 60000L
static char* filled(long n, const char* with) {
  char* text = malloc(n + 1);
  for (long k = 0; k < n; k++)
    text[k] = with[k & 3];
  text[n] = 0;
  return text;
}
int main(void) {
  char *text = filled(N, "123 "), *end = text, *part = filled(N / 2, "aaaa");
  long count = 0, sum = 0;
  int at, value;
  double total = 0;
  float first;
  for (char* p = text; sum += strtol(p, &end, 10), end != p; p = end)
    count++;
  printf("%ld %ld\n", count, sum);
  for (char* p = text; total += strtod(p, &end), end != p; p = end)
    ;
  printf("%g\n", total);
  for (count = 0, end = text; sscanf(end, "%d%n", &value, &at) == 1; end += at)
    count++;
  for (end = text; (end = strstr(end, "23")); end++)
    count++;
  for (end = text; *end; end += strspn(end, " "))
    end += strcspn(end, " "), count++;
  for (char* p = strtok(text, " "); p; p = strtok(NULL, " "))
    count++;
  printf("%ld\n", count);
  text = filled(N, "aaaa");
  part[N / 2 - 1] = 'b';
  printf("%d", strstr(text, part) == NULL);
  text[N - 1] = 'b';
  printf(" %ld\n", (long)(strstr(text, part) - text));
  // A number of many digits from the input, twice.
  count = scanf("%f %i", &first, &value);
  printf("%ld %d\n", count, first > 1e30f);
  return 0;
}
