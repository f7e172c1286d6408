// host
/* Text as users handle it: searching, distances, filling of lines, words counted in a hash table. */
#include "work.h"
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

static const char prose[] =
  "The regulator of the second stage keeps the pressure of the line constant. When the valve of the line opens, "
  "the pressure falls and the regulator answers: it opens its own valve until the pressure is what it was. "
  "The answer takes time. If the regulator is quick, the pressure swings; if it is slow, the line starves. "
  "Between the quick and the slow lies the art of the trade, and the trade is old.";

/* --- searching --- */
static int plain_find(const char* text, const char* what) {
  int n = (int)strlen(what);
  for (int at = 0; text[at]; at++)
    if (!strncmp(text + at, what, (size_t)n)) return at;
  return -1;
}

static int table_find(const char* text, const char* what) {
  int n = (int)strlen(what), length = (int)strlen(text), skip[128];
  for (int k = 0; k < 128; k++) skip[k] = n;
  for (int k = 0; k < n - 1; k++) skip[what[k] & 127] = n - 1 - k;
  for (int at = 0; at + n <= length; at += skip[text[at + n - 1] & 127]) {
    int k = n - 1;
    while (k >= 0 && text[at + k] == what[k]) k--;
    if (k < 0) return at;
  }
  return -1;
}

static int prefix_find(const char* text, const char* what) {
  int back[40], n = (int)strlen(what), k = 0;
  back[0] = 0;
  for (int i = 1; i < n; i++) {
    while (k && what[k] != what[i]) k = back[k - 1];
    back[i] = k += what[k] == what[i];
  }
  k = 0;
  for (int at = 0; text[at]; at++) {
    while (k && what[k] != text[at]) k = back[k - 1];
    k += what[k] == text[at];
    if (k == n) return at - n + 1;
  }
  return -1;
}

/* --- distances --- */
static int distance(const char* a, const char* b) {
  int row[40], n = (int)strlen(b);
  for (int j = 0; j <= n; j++) row[j] = j;
  for (int i = 1; a[i - 1]; i++) {
    int corner = row[0];
    row[0] = i;
    for (int j = 1; j <= n; j++) {
      int best = corner + (a[i - 1] != b[j - 1]);
      if (row[j] + 1 < best) best = row[j] + 1;
      if (row[j - 1] + 1 < best) best = row[j - 1] + 1;
      corner = row[j];
      row[j] = best;
    }
  }
  return row[n];
}

static int wild(const char* pattern, const char* text) {
  for (; *pattern; pattern++, text++) {
    if (*pattern == '*') {
      while (pattern[1] == '*') pattern++;
      for (;; text++) {
        if (wild(pattern + 1, text)) return 1;
        if (!*text) return 0;
      }
    }
    if (!*text || (*pattern != '?' && *pattern != *text)) return 0;
  }
  return !*text;
}

/* --- words --- */
struct word { struct word* next; int count; char text[1]; };
static struct word* buckets[64];
static int word_count;

static struct word* look_up(const char* text, int n) {
  unsigned h = 0;
  for (int k = 0; k < n; k++) h = (h * 33 + (unsigned)tolower((unsigned char)text[k])) & 0x7FFF;
  struct word** at = &buckets[h % 64];
  for (; *at; at = &(*at)->next) {
    int k = 0;
    while (k < n && (*at)->text[k] == tolower((unsigned char)text[k])) k++;
    if (k == n && !(*at)->text[k]) return *at;
  }
  struct word* w = malloc(sizeof *w + (size_t)n);
  if (!w) abort();
  for (int k = 0; k < n; k++) w->text[k] = (char)tolower((unsigned char)text[k]);
  w->text[n] = 0;
  w->count = 0;
  w->next = NULL;
  word_count++;
  return *at = w;
}

static int more_frequent(const void* a, const void* b) {
  const struct word *x = *(const struct word* const*)a, *y = *(const struct word* const*)b;
  return x->count != y->count ? y->count - x->count : strcmp(x->text, y->text);
}

static void count_words(const char* text) {
  while (*text) {
    const char* from = text;
    while (isalpha((unsigned char)*text)) text++;
    if (text > from) look_up(from, (int)(text - from))->count++;
    else text++;
  }
}

/* --- lines --- */
static char page[700];

static int fill_lines(const char* text, int width) {
  int lines = 1, column = 0;
  char* out = page;
  while (*text) {
    int n = (int)strcspn(text, " ");
    if (column && column + 1 + n > width) {
      *out++ = '\n';
      lines++;
      column = 0;
    }
    if (column) *out++ = ' ', column++;
    memcpy(out, text, (size_t)n);
    out += n;
    column += n;
    text += n;
    text += strspn(text, " ");
  }
  *out = 0;
  return lines;
}

static void reverse_words(char* s) {
  char* p = strtok(s, " ");
  while (p) {
    for (char *a = p, *b = p + strlen(p) - 1; a < b; a++, b--) {
      char t = *a;
      *a = *b;
      *b = t;
    }
    printf("%s ", p);
    p = strtok(NULL, " ");
  }
  putchar('\n');
}

int main(void) {
  static const char* const needles[] = {"pressure", "swings;", "the trade is old.", "missing", "The", "its own valve until"};
  uint32_t sum = 0;
  for (unsigned k = 0; k < sizeof needles / sizeof *needles; k++) {
    int a = plain_find(prose, needles[k]), b = table_find(prose, needles[k]), c = prefix_find(prose, needles[k]);
    if (a != b || b != c) work_faults++;
    sum = mix(sum, (uint32_t)(a + 1));
  }
  expect("found", sum, 0x683C7DCD);
  expect("distance", (uint32_t)distance("intention", "execution"), 5);
  count_words(prose);
  struct word** sorted = malloc((size_t)word_count * sizeof *sorted);
  int n = 0;
  for (int b = 0; b < 64; b++)
    for (struct word* w = buckets[b]; w; w = w->next) sorted[n++] = w;
  qsort(sorted, (size_t)n, sizeof *sorted, more_frequent);
  int32_t far = 0;
  for (int k = 0; k < n; k++)
    for (int j = 0; j < 12; j++) far += distance(sorted[k]->text, sorted[j]->text);
  for (int k = 0; k < 5; k++) printf("%d %s\n", sorted[k]->count, sorted[k]->text);
  expect("words", (uint32_t)n, 0x00000023);
  expect("most", sorted[0]->count == 18 && !strcmp(sorted[0]->text, "the"), 1);
  expect("distances", (uint32_t)far, 0x000007E8);
  for (int width = 20; width < 70; width += 10) sum = mix(sum, (uint32_t)fill_lines(prose, width));
  puts(page);
  expect("lines", sum, 0xE3B34735);
  expect("wild", wild("*press*?alv*old.", prose) && wild("a*b?c", "aXXbYbZc") && !wild("a*b?c", "abc"), 1);
  reverse_words(page);
  return finish();
}
