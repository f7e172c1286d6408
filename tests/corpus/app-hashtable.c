// host
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct entry { struct entry* next; int count; char key[12]; };
struct table { struct entry** slots; unsigned size, used; };

static unsigned hash(const char* s) { unsigned h = 5381; while (*s) h = (h * 33 ^ (unsigned)*s++) & 0xFFFF; return h; }
static void grow(struct table* t) {
  unsigned size = t->size ? t->size * 2 : 4;
  struct entry** slots = calloc(size, sizeof *slots);
  for (unsigned i = 0; i < t->size; i++)
    for (struct entry *e = t->slots[i], *next; e; e = next) {
      next = e->next;
      struct entry** to = &slots[hash(e->key) % size];
      e->next = *to;
      *to = e;
    }
  free(t->slots);
  t->slots = slots;
  t->size = size;
}
static struct entry* find(struct table* t, const char* key, int add) {
  if (add && t->used >= t->size) grow(t);
  if (!t->size) return NULL;
  struct entry** place = &t->slots[hash(key) % t->size];
  for (struct entry* e = *place; e; e = e->next) if (!strcmp(e->key, key)) return e;
  if (!add) return NULL;
  struct entry* e = malloc(sizeof *e);
  strcpy(e->key, key);
  e->count = 0;
  e->next = *place;
  t->used++;
  return *place = e;
}
static int drop(struct table* t, const char* key) {
  for (struct entry** p = &t->slots[hash(key) % t->size]; *p; p = &(*p)->next)
    if (!strcmp((*p)->key, key)) { struct entry* dead = *p; *p = dead->next; free(dead); t->used--; return 1; }
  return 0;
}
static int by_count(const void* a, const void* b) {
  const struct entry *x = *(struct entry* const*)a, *y = *(struct entry* const*)b;
  return x->count != y->count ? y->count - x->count : strcmp(x->key, y->key);
}

int main(void) {
  static const char text[] = "the cat and the dog and the bird saw a cat in the tree but the dog saw nothing at all";
  struct table t = {0};
  char word[12];
  int n = 0;
  printf("%d ", find(&t, "none", 0) == NULL);
  for (const char* s = text;; s++) {
    if (*s && *s != ' ') { word[n++] = *s; continue; }
    word[n] = 0;
    n = 0;
    find(&t, word, 1)->count++;
    if (!*s) break;
  }
  int first = drop(&t, "cat"), second = drop(&t, "cat");
  printf("%u %u %d %d\n", t.used, t.size, first, second);
  struct entry* all[32];
  for (unsigned i = 0; i < t.size; i++) for (struct entry* e = t.slots[i]; e; e = e->next) all[n++] = e;
  qsort(all, n, sizeof *all, by_count);
  for (int i = 0; i < n; i++) printf("%s:%d ", all[i]->key, all[i]->count);
  printf("\n");
  return 0;
}
