// PBSET: a small set of small non-negative integers, for the type caches and the like. The bit map
// answers membership, the unsorted member array is what costs little to walk.
#pragma once

#include <cstdint>

struct PBSET {
  int32_t count;       // members
  int32_t capacity;    // room in `members`, a multiple of 16
  int32_t max_element; // largest possible member, one below a multiple of 16; at most 65535
  uint32_t* bits;      // bit map of max_element + 1 bits
  uint16_t* members;   // unsorted
};

// An empty set. A capacity below 1 means the smaller of 16 and max + 1, a max below 1 means 15;
// both sizes round up to a multiple of 16. Free with erase_PBSET.
PBSET* make_PBSET(int max, int capacity);
void erase_PBSET(PBSET* set); // null is fine
// Makes room for members up to `max`.
void extend_PBSET(PBSET* set, int max);
bool element_is_in_PBSET(int element, const PBSET* set);
// An element above 65535, or below 0, is an internal error.
void add_element_to_PBSET(int element, PBSET* set);
void remove_element_from_PBSET(int element, PBSET* set);
void make_PBSET_empty(PBSET* set);
// Some member other than `element`, or -1.
int another_element_in_PBSET(int element, const PBSET* set);
// The smallest member above `after`, or -1.
int next_element_in_PBSET(int after, const PBSET* set);
// Prints the set under that name on standard output.
void dump_PBSET(PBSET* set, const char* name);
