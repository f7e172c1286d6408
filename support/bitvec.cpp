#include "support/bitvec.h"

#include "DIAG/abort.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Words that hold that many bits, rounded up to whole 64-bit steps: the bulk loops take two words
// at a time.
static uint32_t words_for(uint32_t bits) {
  return static_cast<uint32_t>((static_cast<uint64_t>(bits) + 63) / 64 * 2);
}

static uint64_t load_pair(const BITVEC* v, uint32_t word) {
  uint64_t pair = 0;
  if (word < v->alloc) memcpy(&pair, v->words + word, sizeof pair);
  return pair;
}

BITVEC::~BITVEC() {
  free(words);
}

BITVEC& BITVEC::operator=(const BITVEC& b) {
  if (this == &b) return *this;
  bv_resize(b.size);
  const uint32_t used = words_for(size);
  if (used) memcpy(words, b.words, used * sizeof *words);
  count = b.count;
  return *this;
}

BITVEC& BITVEC::operator=(BITVEC&& b) noexcept {
  std::swap(size, b.size);
  std::swap(count, b.count);
  std::swap(alloc, b.alloc);
  std::swap(words, b.words);
  return *this;
}

void BITVEC::bv_resize(unsigned bits) {
  if (bits == size) return;
  if (bits < size) {
    // What is beyond the new size must read as absent if the vector grows again.
    if (bits % 32) words[bits / 32] &= (1u << (bits % 32)) - 1;
    const uint32_t kept = bits / 32 + (bits % 32 != 0);
    memset(words + kept, 0, (words_for(size) - kept) * sizeof *words);
    count = UNKNOWN_COUNT;
  } else if (words_for(bits) > alloc) {
    const uint32_t wanted = words_for(bits);
    auto* grown = static_cast<uint32_t*>(calloc(wanted, sizeof *words));
    if (!grown) abort_optimizer("Out of memory");
    if (words) memcpy(grown, words, words_for(size) * sizeof *words);
    free(words);
    words = grown;
    alloc = wanted;
  }
  size = bits;
}

void BITVEC::bv_clear_all() {
  if (words) memset(words, 0, alloc * sizeof *words);
  count = 0;
}

void BITVEC::bv_set_all() {
  if (!size) return;
  memset(words, 0xFF, size / 32 * sizeof *words);
  if (size % 32) words[size / 32] = (1u << (size % 32)) - 1;
  count = size;
}

unsigned BITVEC::bv_count() {
  if (count == UNKNOWN_COUNT) {
    count = 0;
    for (uint32_t w = 0; w < words_for(size); w += 2)
      count += std::popcount(load_pair(this, w));
  }
  return count;
}

int BITVEC::bv_next(unsigned i) const {
  if (i >= size) return -1;
  uint32_t w = i / 64 * 2;
  uint64_t pair = load_pair(this, w) & ~uint64_t(0) << (i % 64);
  while (!pair) {
    w += 2;
    if (w >= words_for(size)) return -1;
    pair = load_pair(this, w);
  }
  return static_cast<int>(w * 32 + std::countr_zero(pair));
}

bool BITVEC::bv_contains(const BITVEC& b) const {
  for (uint32_t w = 0; w < words_for(b.size); w += 2)
    if (load_pair(&b, w) & ~load_pair(this, w)) return false;
  return true;
}

bool BITVEC::bv_intersects(const BITVEC& b) const {
  for (uint32_t w = 0; w < words_for(b.size); w += 2)
    if (load_pair(&b, w) & load_pair(this, w)) return true;
  return false;
}

void BITVEC::bv_copy_seg(BITVEC* from, unsigned first, unsigned last) {
  CHECK(first <= last && last < size);
  for (uint32_t w = first / 32; w <= last / 32; w++) {
    uint32_t mask = ~0u;
    if (w == first / 32) mask &= ~0u << (first % 32);
    if (w == last / 32) mask &= ~0u >> (31 - last % 32);
    const uint32_t source = w < from->alloc ? from->words[w] : 0;
    words[w] = (words[w] & ~mask) | (source & mask);
  }
  count = UNKNOWN_COUNT;
}

template <class OP> void BITVEC::combine(BITVEC* a, BITVEC* b, const char* name, OP op) {
  if (a->size != b->size) bv_warn(name);
  bv_resize(std::max(a->size, b->size));
  // Wide steps as long as both operands have words: this is the inner loop of every dataflow pass.
  // Vectors share no words but with themselves, so what a step writes no later one reads.
  using WIDE = uint64_t __attribute__((vector_size(16)));
  constexpr uint32_t WIDE_WORDS = sizeof(WIDE) / sizeof *words, STEPS = 4;
  const uint32_t all = words_for(size);
  const uint32_t common = std::min({all, a->alloc, b->alloc}) / (STEPS * WIDE_WORDS);
  uint32_t* to = words;
  const uint32_t *from_a = a->words, *from_b = b->words;
  for (uint32_t turn = 0; turn < common; turn++) {
#pragma GCC unroll 4
    for (uint32_t k = 0; k < STEPS; k++) {
      WIDE x, y;
      memcpy(&x, from_a, sizeof x);
      memcpy(&y, from_b, sizeof y);
      x = op(x, y);
      memcpy(to, &x, sizeof x);
      from_a += WIDE_WORDS;
      from_b += WIDE_WORDS;
      to += WIDE_WORDS;
    }
  }
  uint32_t w = common * STEPS * WIDE_WORDS;
  for (; w < all; w += 2) {
    const uint64_t pair = op(load_pair(a, w), load_pair(b, w));
    memcpy(words + w, &pair, sizeof pair);
  }
  count = size ? UNKNOWN_COUNT : 0;
}

void BITVEC::bv_diff(BITVEC* a, BITVEC* b) {
  combine(a, b, "Vector size mismatch:diff", [](auto x, auto y) { return x & ~y; });
}

void BITVEC::bv_and3(BITVEC* a, BITVEC* b) {
  combine(a, b, "Vector size mismatch:and", [](auto x, auto y) { return x & y; });
}

void BITVEC::bv_merge3(BITVEC* a, BITVEC* b) {
  combine(a, b, "Vector size mismatch:merge", [](auto x, auto y) { return x | y; });
}

bool BITVEC::bv_cmp_cpy(BITVEC* b) {
  if (size != b->size) bv_warn("Vector size mismatch:cmp_cpy");
  if (*this == *b) return false;
  *this = *b;
  return true;
}

bool BITVEC::operator==(const BITVEC& b) const {
  return size == b.size &&
         (size == 0 || memcmp(words, b.words, words_for(size) * sizeof *words) == 0);
}

void BITVEC::bv_print() {
  const char* separator = "";
  for (int first = bv_next(0); first >= 0;) {
    int last = first;
    while (bv_test(last + 1))
      last++;
    if (first == last)
      printf("%s%d", separator, first);
    else
      printf("%s%d-%d", separator, first, last);
    separator = ", ";
    first = bv_next(last + 1);
  }
}

void BITVEC::bv_dump() {
  printf("\n\nBITVEC INFORMATION");
  printf("   Number of elements = %d\n", static_cast<int>(size));
  printf("   Set elements: ");
  bv_print();
}

void BITVEC::bv_warn(const char* what) {
  fprintf(stderr, "%s\n", what);
}
