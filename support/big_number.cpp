#include "support/big_number.h"

#include <algorithm>
#include <bit>

void big_multiply_add(BIG& v, uint32_t factor, uint32_t addend) {
  uint64_t carry = addend;
  for (uint32_t& word : v) {
    carry += static_cast<uint64_t>(word) * factor;
    word = static_cast<uint32_t>(carry);
    carry >>= 32;
  }
  if (carry) v.push_back(static_cast<uint32_t>(carry));
}

void big_multiply_by_power_of_5(BIG& v, long power) {
  constexpr uint32_t FIVE_13 = 1220703125;
  for (; power >= 13; power -= 13)
    big_multiply_add(v, FIVE_13, 0);
  for (; power > 0; power--)
    big_multiply_add(v, 5, 0);
}

long big_bit_length(const BIG& v) {
  return v.empty() ? 0 : static_cast<long>(v.size()) * 32 - std::countl_zero(v.back());
}

void big_shift_left(BIG& v, long bits) {
  if (v.empty() || bits == 0) return;
  const unsigned part = bits % 32;
  if (part) {
    uint32_t carry = 0;
    for (uint32_t& word : v) {
      const uint32_t out = word >> (32 - part);
      word = word << part | carry;
      carry = out;
    }
    if (carry) v.push_back(carry);
  }
  v.insert(v.begin(), static_cast<size_t>(bits / 32), 0);
}

bool big_is_below(const BIG& a, const BIG& b) {
  if (a.size() != b.size()) return a.size() < b.size();
  return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

void big_subtract(BIG& a, const BIG& b) {
  uint64_t borrow = 0;
  for (size_t i = 0; i < a.size(); i++) {
    const uint64_t difference = uint64_t(a[i]) - (i < b.size() ? b[i] : 0) - borrow;
    a[i] = static_cast<uint32_t>(difference);
    borrow = difference >> 63;
  }
  while (!a.empty() && a.back() == 0)
    a.pop_back();
}
