#include "TYPES/pbset.h"

#include "DIAG/abort.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static constexpr int STEP = 16;
static constexpr int LARGEST = 65535; // a member is 16 bits

static int rounded_up(int n) {
  return (n + STEP - 1) / STEP * STEP;
}

static size_t map_words(int max_element) {
  return static_cast<size_t>(max_element) / 32 + 1;
}

static void* must_have(void* p) {
  if (!p) abort_optimizer("Out of memory");
  return p;
}

PBSET* make_PBSET(int max, int capacity) {
  if (max < 1) max = STEP - 1;
  CHECK(max <= LARGEST);
  if (capacity < 1) capacity = std::min(STEP, max + 1);
  auto* set = static_cast<PBSET*>(must_have(malloc(sizeof(PBSET))));
  set->count = 0;
  set->capacity = rounded_up(capacity);
  set->max_element = rounded_up(max + 1) - 1;
  set->bits =
      static_cast<uint32_t*>(must_have(calloc(map_words(set->max_element), sizeof(uint32_t))));
  set->members = static_cast<uint16_t*>(must_have(calloc(set->capacity, sizeof(uint16_t))));
  return set;
}

void erase_PBSET(PBSET* set) {
  if (!set) return;
  free(set->bits);
  free(set->members);
  free(set);
}

void extend_PBSET(PBSET* set, int max) {
  CHECK(max >= 0 && max <= LARGEST);
  if (max <= set->max_element) return;
  const size_t old_words = map_words(set->max_element);
  set->max_element = rounded_up(max + 1) - 1;
  const size_t words = map_words(set->max_element);
  set->bits = static_cast<uint32_t*>(must_have(realloc(set->bits, words * sizeof(uint32_t))));
  std::fill(set->bits + old_words, set->bits + words, 0u);
}

bool element_is_in_PBSET(int element, const PBSET* set) {
  return element >= 0 && element <= set->max_element &&
         (set->bits[element / 32] >> (element % 32) & 1);
}

void add_element_to_PBSET(int element, PBSET* set) {
  if (element_is_in_PBSET(element, set)) return;
  // Doubling keeps a run of growing members linear.
  if (element > set->max_element)
    extend_PBSET(set, std::max(element, std::min(LARGEST, 2 * set->max_element)));
  CHECK(element >= 0);
  if (set->count == set->capacity) {
    set->capacity *= 2;
    set->members =
        static_cast<uint16_t*>(must_have(realloc(set->members, set->capacity * sizeof(uint16_t))));
  }
  set->bits[element / 32] |= 1u << (element % 32);
  set->members[set->count++] = static_cast<uint16_t>(element);
}

void remove_element_from_PBSET(int element, PBSET* set) {
  if (!element_is_in_PBSET(element, set)) return;
  set->bits[element / 32] &= ~(1u << (element % 32));
  uint16_t* place = std::find(set->members, set->members + set->count, element);
  *place = set->members[--set->count];
}

void make_PBSET_empty(PBSET* set) {
  memset(set->bits, 0, map_words(set->max_element) * sizeof(uint32_t));
  set->count = 0;
}

int another_element_in_PBSET(int element, const PBSET* set) {
  for (int i = 0; i < set->count; i++)
    if (set->members[i] != element) return set->members[i];
  return -1;
}

int next_element_in_PBSET(int after, const PBSET* set) {
  // One unsigned key: a member that is not above `after` wraps to a huge one.
  const uint16_t* m = set->members;
  const uint32_t base = static_cast<uint32_t>(std::max(after, -1)) + 1;
  uint32_t best = ~0u;
  auto take = [&best, base](uint32_t member) { best = std::min(best, member - base); };
  int i = 0;
  for (; i + 4 <= set->count; i += 4) {
    take(m[i]);
    take(m[i + 1]);
    take(m[i + 2]);
    take(m[i + 3]);
  }
  for (; i < set->count; i++)
    take(m[i]);
  return best <= LARGEST ? static_cast<int>(best + base) : -1;
}

void dump_PBSET(PBSET* set, const char* name) {
  printf("\nPBSET \"%s\"", name);
  printf(" contains %d of %d possible members in %d slots.\n", set->count, set->max_element + 1,
         set->capacity);
  printf("  MEMBERS:");
  for (int i = 0; i < set->count; i++)
    printf("%6d", set->members[i]);
  if (!set->count) printf("  <EMPTY>\n");
  printf("\n");
}
