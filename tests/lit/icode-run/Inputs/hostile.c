#include <setjmp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define HUGE 4000000000uL

static jmp_buf env;
static int compare(const void* a, const void* b) { return a != b; }
static void set(void) { setjmp(env); }
static void deep(int n) {
  int a[9];
  a[n & 7] = 1;
  if (n) deep(n - 1);
  else set();
}

int main(int argc, char** argv) {
  char t[4] = {1, 1, 1, 1};
  char* p = (char*)5L;
  static char big[70000L];
  switch (argv[argc - 1][0]) {
  case 'a': strcpy(p, "x"); break;
  case 'b': return strlen(t);
  case 'c': memset(t, 0, HUGE); break;
  case 'd': printf("%d %s\n", 5); break;
  case 'e': deep(30); longjmp(env, 1);
  case 'f': memset(env, 7, 8); longjmp(env, 1);
  case 'g': qsort(t, HUGE, HUGE, compare); break;
  case 'h': sscanf("5 6", "%d %d", (int*)t); break;
  case 'i': free(t); break;
  case 'j': fputs("x", (FILE*)99L); break;
  case 'k': sscanf("abc", "%[a-"); break;
  case 'l': strtok(p, ","); break;
  case 'm': div(1, argc - 2); break;
  case 'n': bsearch(t, t, HUGE, HUGE, compare); break;
  case 'o': printf("%n%y"); break;
  case 'p': fwrite(t, 65536uL, 65536uL, stdout); break;
  case 'q':
    if (calloc(HUGE, HUGE) || realloc(0, HUGE)) return 1;
    strtol("1", (char**)p + 1, 10);
    break;
  case 'r': sprintf(t, "%5000d", 1); break;
  case 's': memmove(t, big, sizeof big); break;
  case 't': sscanf("5 6", "%d %d", (int*)p, (int*)p); break;
  case 'u': bsearch(t, t, 5, 1, (int (*)(const void*, const void*))p); break;
  }
  return 0;
}
