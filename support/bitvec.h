// BITVEC: a set of small numbers, the set type of the dataflow passes.
//
// All operations between vectors want equal sizes. Where they differ, a warning goes to standard
// error and the result has the size of the larger operand; members that an operand has no room for
// are absent from it.
#pragma once

#include <cstdint>

struct BITVEC {
  static constexpr uint32_t UNKNOWN_COUNT = 0xFFFFFFFFu;

  uint32_t size = 0;  // in bits
  uint32_t count = 0; // set bits, or UNKNOWN_COUNT; use bv_count()
  uint32_t alloc = 0; // allocated words, an even number
  // Bits from `size` on are zero in all allocated words.
  uint32_t* words = nullptr;

  BITVEC() = default;
  explicit BITVEC(unsigned bits) { bv_resize(bits); }
  BITVEC(const BITVEC& b) { *this = b; }
  BITVEC(BITVEC&& b) noexcept { *this = static_cast<BITVEC&&>(b); }
  ~BITVEC();
  BITVEC& operator=(const BITVEC& b);
  BITVEC& operator=(BITVEC&& b) noexcept;

  // Changes the size. Members that no longer have room go; new ones are absent.
  void bv_resize(unsigned bits);

  bool bv_test(unsigned i) const { return i < size && (words[i / 32] >> (i % 32) & 1); }
  // i must be below size.
  void bv_set(unsigned i) {
    words[i / 32] |= 1u << (i % 32);
    count = UNKNOWN_COUNT;
  }
  void bv_reset(unsigned i) {
    words[i / 32] &= ~(1u << (i % 32));
    count = UNKNOWN_COUNT;
  }
  void bv_clear_all();
  void bv_set_all();
  bool bv_is_empty() const { return bv_next(0) < 0; }
  unsigned bv_count();
  // The smallest member at or above i, or -1.
  int bv_next(unsigned i) const;
  bool bv_contains(const BITVEC& b) const; // is b a subset?
  bool bv_intersects(const BITVEC& b) const;

  // Members first .. last of `from` replace the same stretch of this set.
  void bv_copy_seg(BITVEC* from, unsigned first, unsigned last);
  void bv_diff(BITVEC* a, BITVEC* b);   // this = a without b
  void bv_and3(BITVEC* a, BITVEC* b);   // this = a and b
  void bv_merge3(BITVEC* a, BITVEC* b); // this = a or b
  // this = b; was it different?
  bool bv_cmp_cpy(BITVEC* b);

  bool operator==(const BITVEC& b) const;

  void bv_print(); // members as ranges, on standard output
  void bv_dump();  // the same under a heading
  static void bv_warn(const char* what);

private:
  template <class OP> void combine(BITVEC* a, BITVEC* b, const char* name, OP op);
};
